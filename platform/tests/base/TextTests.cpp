#include "base/Text.hpp"

#include <cstdlib>

#include "Fakes/Testing.hpp"
#include "base/Dates.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

TEST(Text, CharactersAreWhatAPersonCounts) {
  const Table<const char*, std::size_t, const char*, const char*> rows = {
      {"", 0, "", ""},
      {"abc", 3, "a", "c"},
      {"e\u0301x", 2, "e\u0301", "x"},
      {"👩‍👩‍👧🇩🇪é", 3, "👩‍👩‍👧", "é"},
      {"\r\n\r\n", 2, "\r\n", "\r\n"},
      {"日本", 2, "日", "本"},
  };
  for (const auto& [text, count, first, last] : rows) {
    EXPECT_EQ(text::characterCount(text), count) << text;
    EXPECT_EQ(text::firstCharacters(text, 1), first) << text;
    EXPECT_EQ(text::lastCharacters(text, 1), last) << text;
    EXPECT_EQ(text::firstCharacters(text, 99), text);
    EXPECT_TRUE(text::hasAtLeast(text, count)) << text;
    EXPECT_FALSE(text::hasAtLeast(text, count + 1)) << text;
  }
  EXPECT_EQ(text::firstCharacters("abe\u0301", 3), "abe\u0301") << "what follows may join the last one";
  EXPECT_EQ(text::shortened(std::string(28, 'x'), 29, 27), std::string(28, 'x'));
  EXPECT_EQ(text::shortened(std::string(29, 'x'), 29, 27), std::string(27, 'x') + "…");
}

TEST(Text, TrimmingKnowsUnicodeSpaces) {
  EXPECT_EQ(text::trimmed("\u00A0 \t\r\n a b \u2003\n"), "a b");
  EXPECT_EQ(text::trimmedBlanks(" \ta\n "), "a\n");
  EXPECT_EQ(text::joinedWords("  a\n\tb\u2028c  "), "a b c");
  EXPECT_EQ(text::trimmed(" \xff "), "\xff");
}

TEST(Text, RepairKeepsEveryGoodCharacter) {
  EXPECT_EQ(text::repairedUtf8("a\xC3(b"), "a\uFFFD(b");
  EXPECT_EQ(text::repairedUtf8("\xE2\x82"), "\uFFFD");
  EXPECT_EQ(text::repairedUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(text::repairedUtf8("\xC0\xAF ü"), "\uFFFD\uFFFD ü");
}

TEST(Text, FillingNeverReadsArgumentsAsPatterns) {
  EXPECT_EQ(text::filled("%@: %d %% used", {"%@%d%%", 5}), "%@%d%%: 5 % used");
  EXPECT_EQ(text::filled("%d %@ %@", {"a"}), "%d a %@");
  EXPECT_EQ(text::filled("100%", {}), "100%");
}

TEST(Text, EncodingsRoundTripAndRefuse) {
  for (const std::string bytes : {"", "f", "fo", "foo", "\xff\x00\x01"}) {
    EXPECT_EQ(text::fromBase64(text::base64(bytes)), bytes);
  }
  for (const char* bad : {"a", "ab=c", "====", "Zh==", "Z m9", "Zm9v\n"}) EXPECT_FALSE(text::fromBase64(bad)) << bad;
  EXPECT_EQ(text::percentEncoded("a b&ü/", "/"), "a%20b%26%C3%BC/");
  EXPECT_TRUE(text::isUuid(text::makeUuid()));
  EXPECT_FALSE(text::isUuid("00000000-0000-4000-8000-00000000000g"));
}

TEST(Dates, OnlyInternetDateTimesAreRead) {
  const double epoch = 1769850900;  // 2026-01-31T09:15:00Z
  for (const char* text :
       {"2026-01-31T09:15:00Z", "2026-01-31T10:15:00+01:00", "2026-01-31T09:15:00.000Z", "2026-01-31T03:45:00-0530"}) {
    EXPECT_EQ(parseIso8601(text), Date{epoch}) << text;
  }
  EXPECT_NEAR(parseIso8601("2026-01-31T09:15:00.250Z")->seconds, epoch + 0.25, 1e-6);
  for (const char* text : {"", "2026-01-31", "2026-01-31T09:15:00", "2026-01-31 09:15:00Z", "2026-02-29T00:00:00Z",
                           "2026-13-01T00:00:00Z", "2026-01-31T24:00:00Z", "2026-01-31T09:15:00.Z",
                           "2026-01-31T09:15:00Zx", " 2026-01-31T09:15:00Z", "26-01-31T09:15:00Z"}) {
    EXPECT_FALSE(parseIso8601(text)) << text;
  }
  EXPECT_EQ(formatIso8601({epoch + 0.9}), "2026-01-31T09:15:00Z");
}

TEST(Dates, DaysFollowTheZoneAndItsChange) {
  const Calendar berlin = Calendar::zone("Europe/Berlin");
  const auto at = [](const char* text) { return *parseIso8601(text); };
  EXPECT_TRUE(berlin.isSameDay(at("2026-03-28T23:30:00Z"), at("2026-03-29T21:30:00Z"))) << "the day of 23 hours";
  EXPECT_FALSE(berlin.isSameDay(at("2026-03-28T22:30:00Z"), at("2026-03-28T23:30:00Z")));
  EXPECT_FALSE(berlin.isSameDay(at("2026-06-01T12:00:00Z"), at("2025-06-01T12:00:00Z")));
  EXPECT_EQ(berlin.format(at("2026-07-01T10:05:00Z"), "HH:mm", "en_US"), "12:05");
  EXPECT_EQ(berlin.format(at("2026-07-01T10:05:00Z"), "EEE HH:mm", "de_DE"), "Mi. 12:05");

  const char* before = std::getenv("TZ");
  const std::string kept = before ? before : "";
  for (const auto& [zone, time] : {std::pair{"UTC", "10:05"}, {"Asia/Tokyo", "19:05"}}) {
    setenv("TZ", zone, 1);
    EXPECT_EQ(Calendar::current().format(at("2026-07-01T10:05:00Z"), "HH:mm", "en_US"), time) << zone;
  }
  before ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
}

TEST(Digest, IsSha256) {
  EXPECT_EQ(sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_NE(sha256OfFile(systemFiles(), "/nonexistent").error, 0);
}

}  // namespace
}  // namespace kestrelune
