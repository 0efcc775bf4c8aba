#pragma once

// Those that stand inside of texts.
#define KESTRELUNE_SUPPORT_ADDRESS "support@" KESTRELUNE_SERVICE_HOST
#define KESTRELUNE_CLAUDE_HOST "claude.ai"

/// The one place for host names and addresses.
namespace kestrelune::endpoints {

/// The cloud service. `KESTRELUNE_SERVICE_HOST` is set by the build.
inline constexpr const char* kServiceHost = KESTRELUNE_SERVICE_HOST;
inline constexpr const char* kServiceUrl = "https://" KESTRELUNE_SERVICE_HOST;
inline constexpr const char* kMcpUrl = "https://" KESTRELUNE_SERVICE_HOST "/mcp";
inline constexpr const char* kInstallUrl = "https://" KESTRELUNE_SERVICE_HOST "/install";
inline constexpr const char* kAccountUrl = "https://" KESTRELUNE_SERVICE_HOST "/workspace";
inline constexpr const char* kPublicSite = "https://www." KESTRELUNE_SERVICE_HOST;
inline constexpr const char* kSupportAddress = KESTRELUNE_SUPPORT_ADDRESS;

/// The outside AI services.
inline constexpr const char* kClaudeHost = KESTRELUNE_CLAUDE_HOST;
inline constexpr const char* kChatGptHost = "chatgpt.com";
inline constexpr const char* kGrokHost = "grok.com";
inline constexpr const char* kCursorInstall = "cursor://anysphere.cursor-deeplink/mcp/install";
inline constexpr const char* kGrokBotApp = "grokbot://open";
inline constexpr const char* kAntigravityApp = "antigravity://";

}  // namespace kestrelune::endpoints
