#include "session/DesktopEntry.hpp"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "base/Text.hpp"

namespace kestrelune::desktop_entry {
namespace {

constexpr std::size_t kLargestFile = 1u << 20;
constexpr std::string_view kDefaultDataFolders = "/usr/local/share:/usr/share";
constexpr std::string_view kDefaultPath = "/usr/local/bin:/usr/bin:/bin";

std::string unescaped(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
      continue;
    }
    switch (const char c = value[++i]) {
      case 's': text += ' '; break;
      case 'n': text += '\n'; break;
      case 't': text += '\t'; break;
      case 'r': text += '\r'; break;
      case '\\': text += '\\'; break;
      default: text += {'\\', c};
    }
  }
  return text;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(separator), text.size());
    if (end > 0) parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

std::string_view trimmed(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string value(const Environment& environment, const char* name, std::string_view fallback) {
  const auto found = environment.find(name);
  return found == environment.end() || found->second.empty() ? std::string(fallback) : found->second;
}

/// The words of an Exec value; absent for an open quote.
std::optional<std::vector<std::string>> words(std::string_view exec) {
  std::vector<std::string> found;
  std::string word;
  bool inWord = false, quoted = false;
  for (std::size_t i = 0; i < exec.size(); ++i) {
    const char c = exec[i];
    if (quoted && c == '\\' && i + 1 < exec.size()) {
      word += exec[++i];
    } else if (c == '"') {
      quoted = !quoted;
      inWord = true;
    } else if (!quoted && (c == ' ' || c == '\t' || c == '\n')) {
      if (inWord) found.push_back(std::exchange(word, ""));
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (quoted) return std::nullopt;
  if (inWord) found.push_back(word);
  return found;
}

/// A name with dashes may stand for a file in folders: "kde-edit" is "kde/edit" where there is no "kde-edit".
std::optional<std::string> fileOf(Files& files, const std::string& folder, std::string id) {
  for (std::size_t dash = 0;; ++dash) {
    std::string path = folder + "/" + id + ".desktop";
    if (files.access(path, R_OK) == 0) return path;
    dash = id.find('-', dash);
    if (dash == std::string::npos) return std::nullopt;
    id[dash] = '/';
  }
}

std::vector<std::string> applicationFolders(const Environment& environment, const std::string& home) {
  std::vector<std::string> folders = {value(environment, "XDG_DATA_HOME", home + "/.local/share")};
  for (std::string& folder : split(value(environment, "XDG_DATA_DIRS", kDefaultDataFolders), ':'))
    folders.push_back(std::move(folder));
  for (std::string& folder : folders) folder += "/applications";
  return folders;
}

/// The ids of the files in a folder and the folders in it, whose names stand with dashes.
std::vector<std::string> idsIn(Files& files, const std::string& folder, const std::string& prefix = "") {
  constexpr std::string_view kSuffix = ".desktop";
  std::vector<std::string> ids;
  for (const std::string& name : files.list(folder).value) {
    const std::string path = folder + "/" + name;
    if (name.ends_with(kSuffix)) {
      ids.push_back(prefix + name.substr(0, name.size() - kSuffix.size()));
    } else if (const Outcome<FileInfo> info = files.linkInfo(path); info && info.value.kind == FileInfo::Kind::folder) {
      for (std::string& id : idsIn(files, path, prefix + name + "-")) ids.push_back(std::move(id));
    }
  }
  return ids;
}

}  // namespace

Entry parse(std::string_view text) {
  Entry entry;
  bool inGroup = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[') {
      inGroup = line == "[Desktop Entry]";
      continue;
    }
    const std::size_t equals = line.find('=');
    if (!inGroup || equals == std::string_view::npos) continue;
    entry.insert_or_assign(std::string(trimmed(line.substr(0, equals))), unescaped(trimmed(line.substr(equals + 1))));
  }
  return entry;
}

bool isTrue(const Entry& entry, std::string_view key) {
  const auto found = entry.find(key);
  return found != entry.end() && text::lowercased(found->second) == "true";
}

std::vector<std::string> commandLine(const Entry& entry) {
  const auto exec = entry.find("Exec");
  if (exec == entry.end()) return {};
  const auto found = words(exec->second);
  if (!found) return {};
  std::vector<std::string> command;
  for (const std::string& word : *found) {
    if (word == "%i") {
      if (const auto icon = entry.find("Icon"); icon != entry.end()) {
        command.emplace_back("--icon");
        command.push_back(icon->second);
      }
      continue;
    }
    std::string argument;
    bool code = false;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (word[i] != '%' || i + 1 == word.size()) {
        argument += word[i];
        continue;
      }
      code = true;
      const char kind = word[++i];
      if (kind == '%') argument += '%';
      if (kind == 'c') {
        if (const auto name = entry.find("Name"); name != entry.end()) argument += name->second;
      }
    }
    if (!argument.empty() || !code) command.push_back(argument);
  }
  return command;
}

std::string quotedArgument(std::string_view argument) {
  std::string quoted = "\"";
  for (const char c : argument) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
    if (c == '%') quoted += '%';
    quoted += c;
  }
  return quoted + '"';
}

std::string escapedValue(std::string_view value) {
  std::string text;
  for (const char c : value) {
    switch (c) {
      case '\\': text += "\\\\"; break;
      case '\n': text += "\\n"; break;
      case '\t': text += "\\t"; break;
      case '\r': text += "\\r"; break;
      default: text += c;
    }
  }
  // Blanks at the ends of a line are nobody's.
  if (!text.empty() && text.front() == ' ') text.replace(0, 1, "\\s");
  if (!text.empty() && text.back() == ' ') text.replace(text.size() - 1, 1, "\\s");
  return text;
}

std::optional<Entry> findApplication(Files& files, const Environment& environment, const std::string& home,
                                     const std::string& id, std::string* path) {
  if (id.empty() || id.find('/') != std::string::npos) return std::nullopt;
  for (const std::string& folder : applicationFolders(environment, home)) {
    const auto file = fileOf(files, folder, id);
    if (!file) continue;
    const Outcome<std::string> content = readFile(files, *file, kLargestFile);
    if (!content) continue;
    Entry entry = parse(content.value);
    if (isTrue(entry, "Hidden")) return std::nullopt;
    if (path) *path = *file;
    return entry;
  }
  return std::nullopt;
}

std::optional<std::string> findByName(Files& files, const Environment& environment, const std::string& home,
                                      const std::string& name) {
  const std::string wanted = text::lowercased(name);
  for (const std::string& id : {name, wanted})
    if (findApplication(files, environment, home, id)) return id;
  for (const std::string& folder : applicationFolders(environment, home)) {
    for (const std::string& id : idsIn(files, folder)) {
      const auto entry = findApplication(files, environment, home, id);
      const auto own = entry ? entry->find("Name") : Entry::const_iterator();
      if (entry && own != entry->end() && text::lowercased(own->second) == wanted) return id;
    }
  }
  return std::nullopt;
}

std::string findExecutable(Files& files, const Environment& environment, const std::string& name) {
  const auto usable = [&](const std::string& path) {
    const Outcome<FileInfo> info = files.info(path);
    return info && info.value.kind == FileInfo::Kind::regular && files.access(path, X_OK) == 0;
  };
  if (name.empty()) return "";
  if (name.find('/') != std::string::npos) return name.front() == '/' && usable(name) ? name : "";
  for (const std::string& folder : split(value(environment, "PATH", kDefaultPath), ':'))
    if (folder.front() == '/' && usable(folder + "/" + name)) return folder + "/" + name;
  return "";
}

}  // namespace kestrelune::desktop_entry
