#include "base/CodeSignature.hpp"

#include <memory>

#include "base/Bundle.hpp"
#include "base/ModuleLoader.hpp"
#include "base/SignatureEngine.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLargestList = 16u << 20;
constexpr std::size_t kLargestSignature = 1u << 20;

SignatureAnswer examine(const SignatureQuestion& question) {
  static auto* const ask =
      reinterpret_cast<decltype(&kestreluneSignature)>(loadModule("libKestreluneSignature.so", "kestreluneSignature"));
  const std::unique_ptr<SignatureAnswer> answer(ask ? ask(&question) : nullptr);
  return answer ? *answer : SignatureAnswer{};
}

/// Takes `expected` off the front.
bool take(std::string_view& text, std::string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

/// Takes what stands before the next double quote, and the quote.
std::string_view takeQuoted(std::string_view& text) {
  const std::size_t quote = text.find('"');
  if (quote == std::string_view::npos) return {};
  const std::string_view value = text.substr(0, quote);
  text.remove_prefix(quote + 1);
  return value;
}

struct Requirement {
  std::string_view identifier;
  std::string_view team;
};

std::optional<Requirement> understood(std::string_view text) {
  Requirement requirement;
  if (!take(text, "anchor apple generic and identifier \"")) return std::nullopt;
  requirement.identifier = takeQuoted(text);
  if (!take(text,
            " and certificate 1[field.1.2.840.113635.100.6.2.6] exists"
            " and certificate leaf[field.1.2.840.113635.100.6.1.13] exists"
            " and certificate leaf[subject.OU] = \"")) {
    return std::nullopt;
  }
  requirement.team = takeQuoted(text);
  if (!text.empty() || requirement.identifier.empty() || requirement.team.empty()) return std::nullopt;
  return requirement;
}

std::string contentOf(Files& files, const std::string& path, std::size_t limit) {
  return readFile(files, path, limit).value;
}

}  // namespace

struct CodeSignature::Judged {
  std::string list;
  SignatureAnswer maker;
  bool notarized = false;
};

CodeSignature::Judged CodeSignature::judge(const std::string& bundle, Date now) const {
  Judged judged;
  judged.list = contentOf(files_, bundle + "/" + CodeSeal::kList, kLargestList);
  const std::string maker = contentOf(files_, bundle + "/" + CodeSeal::kSignature, kLargestSignature);
  const std::string notary = contentOf(files_, bundle + "/" + CodeSeal::kNotary, kLargestSignature);

  const SignatureAnswer counter = examine({judged.list, notary, anchor_, std::nullopt});
  // A maker's own authority can't make notaries.
  judged.notarized = counter.valid && counter.notary && !counter.intermediateMarked;
  const auto at = judged.notarized ? *counter.signedAt : static_cast<std::int64_t>(now.seconds);
  judged.maker = examine({judged.list, maker, anchor_, at});
  return judged;
}

std::optional<std::string> CodeSignature::team(const std::string& bundle) const {
  const std::string team = judge(bundle, {}).maker.team;
  return team.empty() ? std::nullopt : std::optional(team);
}

bool CodeSignature::satisfies(const std::string& bundle, std::string_view text, Date now) const {
  const auto requirement = understood(text);
  if (!requirement) return false;
  const Judged judged = judge(bundle, now);
  const SignatureAnswer& maker = judged.maker;
  if (!maker.valid || !maker.leafMarked || !maker.intermediateMarked || maker.team != requirement->team) return false;
  const auto seal = CodeSeal::parse(judged.list);
  if (!seal || seal->identifier != requirement->identifier) return false;
  if (Bundle(Url::file(bundle)).infoString("CFBundleIdentifier") != seal->identifier) return false;
  return seal == CodeSeal::of(files_, bundle, seal->identifier);
}

CodeSignature::Assessment CodeSignature::assess(const std::string& bundle, Date now) const {
  const Judged judged = judge(bundle, now);
  const auto seal = CodeSeal::parse(judged.list);
  const bool whole = judged.maker.valid && judged.maker.leafMarked && judged.maker.intermediateMarked && seal &&
                     seal == CodeSeal::of(files_, bundle, seal->identifier);
  if (!whole) return Assessment::rejected;
  return judged.notarized ? Assessment::notarized : Assessment::unnotarized;
}

}  // namespace kestrelune
