#include "unpack/Unpack.hpp"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "base/Text.hpp"

namespace kestrelune::unpack {
namespace {

struct Entry {
  std::string path;
  std::string content;
  unsigned type = AE_IFREG;
  int mode = 0644;
};

void pack(const std::string& file, const std::vector<Entry>& entries) {
  archive* zip = archive_write_new();
  archive_write_set_format_zip(zip);
  archive_write_zip_set_compression_store(zip);
  archive_write_open_filename(zip, file.c_str());
  for (const Entry& from : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, from.path.c_str());
    archive_entry_set_filetype(entry, from.type);
    archive_entry_set_perm(entry, static_cast<mode_t>(from.mode));
    if (from.type == AE_IFLNK) archive_entry_set_symlink(entry, from.content.c_str());
    archive_entry_set_size(entry, from.type == AE_IFREG ? static_cast<la_int64_t>(from.content.size()) : 0);
    archive_write_header(zip, entry);
    if (from.type == AE_IFREG) archive_write_data(zip, from.content.data(), from.content.size());
    archive_entry_free(entry);
  }
  archive_write_free(zip);
}

struct Scratch {
  Scratch() { std::filesystem::create_directories(folder.path("out/inner")); }
  std::string run(const std::vector<Entry>& entries, const Limits& limits = {}) {
    pack(folder.path("a.zip"), entries);
    return unpack(folder.path("a.zip"), folder.path("out/inner"), limits);
  }
  const TestFolder folder;
};

TEST(Unpack, KeepsRightsAndLinks) {
  Scratch scratch;
  umask(077);
  EXPECT_EQ(scratch.run({{"App.app/", "", AE_IFDIR, 0755},
                         {"App.app/Contents/run", "program", AE_IFREG, 0755},
                         {"App.app/Contents/data", std::string(200'000, 'x')},
                         {"App.app/Contents/deep/link", "../run", AE_IFLNK, 0777}}),
            "");
  umask(022);
  const std::string app = scratch.folder.path("out/inner/App.app");
  EXPECT_EQ(std::filesystem::file_size(app + "/Contents/data"), 200'000u);
  EXPECT_EQ(static_cast<int>(std::filesystem::status(app + "/Contents/run").permissions()), 0755);
  EXPECT_EQ(static_cast<int>(std::filesystem::status(app).permissions()), 0755);
  EXPECT_EQ(std::filesystem::read_symlink(app + "/Contents/deep/link"), "../run");
}

TEST(Unpack, PathsLeadDownwardsOnly) {
  for (const char* path : {"a", "a/", "a/..b/c", "\xc3\xbc"}) EXPECT_TRUE(isInside(path)) << path;
  for (const char* path : {"", "/", "/a", "a//b", ".", "a/.", "..", "../a", "a/../b", "a\\b", "a\xff"})
    EXPECT_FALSE(isInside(path)) << path;
}

TEST(Unpack, RefusesWhatLeavesTheFolder) {
  const Table<const char*, std::vector<Entry>> rows = {
      {"upwards", {{"../evil", "x"}}},
      {"an empty piece", {{"a//b", "x"}}},
      {"a link outside", {{"l", "../evil", AE_IFLNK}}},
      {"an absolute link", {{"l", "/etc", AE_IFLNK}}},
      {"a link by a detour", {{"a/l", "b/../c", AE_IFLNK}}},
      {"through a link", {{"d/", "", AE_IFDIR, 0755}, {"l", "d", AE_IFLNK}, {"l/evil", "x"}}},
      {"a file over a link", {{"d", "", AE_IFREG}, {"l", "d", AE_IFLNK}, {"l", "x"}}},
      {"the same file twice", {{"a", "x"}, {"a", "y"}}},
      {"special rights", {{"a", "x", AE_IFREG, 04755}}},
  };
  for (const auto& [name, entries] : rows) {
    Scratch scratch;
    EXPECT_NE(scratch.run(entries), "") << name;
    EXPECT_EQ(scratch.folder.count("out"), 1u) << name;
  }
}

TEST(Unpack, EndsAtItsLimits) {
  const std::string zeros(1 << 20, '\0');
  EXPECT_NE(Scratch().run({{"a", zeros}, {"b", zeros}}, {.bytes = (2 << 20) - 1}), "");
  EXPECT_EQ(Scratch().run({{"a", zeros}, {"b", zeros}}, {.bytes = 2 << 20}), "");
  EXPECT_NE(Scratch().run({{"a", ""}, {"b", ""}, {"c", ""}}, {.entries = 2}), "");
  Scratch modest;  // in what it tells
  modest.run({{"a", zeros}});
  std::string bytes = modest.folder.read("a.zip");
  for (const std::size_t told : {bytes.find("PK\3\4") + 22, bytes.rfind("PK\1\2") + 24})
    bytes.replace(told, 4, std::string(4, '\0'));
  modest.folder.write("a.zip", bytes);
  EXPECT_EQ(unpack(modest.folder.path("a.zip"), modest.folder.path("out"), {.bytes = 1000}), "too much to unpack");
}

TEST(Unpack, ADamagedArchiveIsAFailure) {
  Scratch scratch;
  EXPECT_EQ(scratch.run({{"a", std::string(5000, 'x')}, {"b", ""}}), "");
  const std::string whole = scratch.folder.read("a.zip");
  std::string boasting = whole;  // of 2 GB in "b"
  boasting.replace(whole.rfind("PK\1\2") + 24, 4, "\xff\xff\xff\x7f");
  std::string padded = whole;  // to 16 bytes in "b"
  padded[whole.rfind("PK\1\2") + 24] = 16;
  const std::string sockets = text::replacedAll(whole, "\xa4\x81", "\xa4\xc1");  // by their modes
  const std::vector<std::string> damaged = {
      "",     "no archive", whole.substr(0, whole.size() / 2), whole.substr(0, whole.size() - 30), boasting,
      padded, sockets};
  for (const std::string& bytes : damaged) {
    const TestFolder other;
    std::filesystem::create_directory(other.path("out"));
    other.write("a.zip", bytes);
    EXPECT_NE(unpack(other.path("a.zip"), other.path("out"), {.bytes = 1 << 20}), "") << &bytes - damaged.data();
    EXPECT_TRUE(!other.has("out/b") || std::filesystem::file_size(other.path("out/b")) < 5000);
  }
}

}  // namespace
}  // namespace kestrelune::unpack
