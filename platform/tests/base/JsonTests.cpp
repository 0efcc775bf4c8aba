#include "base/Json.hpp"

#include <cmath>

#include "Fakes/Testing.hpp"
#include "base/Messages.hpp"

namespace kestrelune {
namespace {

TEST(Json, RefusesWhatIsNoJsonWithoutACrash) {
  for (const char* text : {"", " ", "{", "{\"a\":}", "[1,]", "{} x", "nul", "NaN", "\"\xff\"", "01"})
    EXPECT_THROW(Json::parse(text), JsonError) << text;
  const std::string twice = "{\"list\":[]}" + std::string(1, '\0') + "{\"list\":[1]}";
  EXPECT_THROW(Json::parse(twice), JsonError) << "a zero byte is no end";
  EXPECT_THROW(Json::parse(twice, "list", [](Json) {}), JsonError);
  for (const char open : {'[', '{'}) EXPECT_THROW(Json::parse(std::string(100'000, open)), JsonError);
  EXPECT_NO_THROW(Json::parse(std::string(512, '[') + std::string(512, ']')));
  EXPECT_THROW(Json::parse(std::string(513, '[') + std::string(513, ']')), JsonError);
}

TEST(Json, WritesSortedAndCompactAndReadsItBack) {
  const std::string text = R"({"b":[1,-2.5,true,null,"\u0001\"\\ü🔥"],"a":{"z":{},"y":[]},"c":1e300})";
  const Json json = Json::parse(text);
  EXPECT_EQ(json.write(), R"({"a":{"y":[],"z":{}},"b":[1,-2.5,true,null,"\u0001\"\\ü🔥"],"c":1e+300})");
  EXPECT_EQ(Json::parse(json.write()), json);
  EXPECT_EQ(Json(std::string("a\xff")).write(), "\"a\xEF\xBF\xBD\"");
  EXPECT_EQ(Json(NAN).write(), "null");
  EXPECT_EQ(*Json::parse(R"({"a":1,"a":2})").find("a")->integer(), 2);
}

TEST(Json, HalfASurrogatePairHidesNothingElse) {
  const Table<std::string, std::string> rows = {{R"("a\ud83d")", "a\uFFFD"},
                                                {R"("\uDD25b")", "\uFFFDb"},
                                                {R"("\ud83d\ud83d\udd25")", "\uFFFD🔥"},
                                                {R"("\ud83d\n\ud83dx")", "\uFFFD\n\uFFFDx"},
                                                {R"("\\ud83d")", "\\ud83d"},
                                                {R"("\ud83d\udd25")", "🔥"}};
  for (const auto& [text, value] : rows) EXPECT_EQ(*Json::parse(text).string(), value) << text;
  EXPECT_THROW(Json::parse(R"("\ud83)"), JsonError);
}

TEST(Json, NumbersAreIntegersWhenTheirValueIs) {
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  const Table<const char*, std::optional<std::int32_t>, std::optional<std::int64_t>> rows = {
      {"1.0", 1, 1},
      {"1e3", 1000, 1000},
      {"-0", 0, 0},
      {"2147483647", 2147483647, 2147483647},
      {"2147483648", {}, 2147483648},
      {"9223372036854775807", {}, most},
      {"9223372036854775808", {}, {}},
      {"1.5", {}, {}},
      {"\"1\"", {}, {}},
      {"true", {}, {}}};
  const auto decoded = [](const char* text, auto value) -> std::optional<decltype(value)> {
    try {
      decodeJson(Json::parse(text), value);
      return value;
    } catch (const JsonError&) {
      return std::nullopt;
    }
  };
  for (const auto& [text, narrow, wide] : rows) {
    EXPECT_EQ(decoded(text, std::int32_t{}), narrow) << text;
    EXPECT_EQ(decoded(text, std::int64_t{}), wide) << text;
  }
}

/// One message of each shape, with what travels least often.
std::vector<messages::Down> richMessages() {
  const MenuRow row{
      .form = MenuRow::Form::attention, .title = "ü_&", .enabled = true, .checked = false, .children = {{}}};
  const View view{.kind = View::Kind::panel,
                  .role = View::Role::monospaced,
                  .enabled = false,
                  .spacing = 0,
                  .children = {{.kind = View::Kind::field, .icon = View::Icon::folder, .count = -1}}};
  return {messages::Hello{.language = "de"},
          messages::ShowWindow{{.id = "w", .frame = Rect{-5, 0, 1, 1}}, view, "token"},
          messages::RaiseWindow{"w", "token"},
          messages::Ask{3, {.title = "?", .buttons = {"a", "b"}, .field = Question::Field{.multiline = true}}},
          messages::ShowMenu{2, {row}, {.x = 0, .y = -7}},
          messages::ShowStatusItem{true, {.dot = {1, 2, 255}, .pill = "p", .tone = StatusItemLook::PillTone::running}},
          messages::Copy{"line\nline"},
          messages::Quit{}};
}

TEST(Messages, TravelWholeAndNoPartOfOnePasses) {
  for (const messages::Down& message : richMessages()) {
    const std::string line = messages::encode(message);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_EQ(messages::decodeDown(line), message) << line;
    for (std::size_t length = 0; length + 1 < line.size(); ++length) {
      EXPECT_THROW(messages::decodeDown(line.substr(0, length)), JsonError);
    }
  }
  const messages::Up answer = messages::Answered{.id = 1, .button = 0, .text = "t"};
  EXPECT_EQ(messages::decodeUp(messages::encode(answer)), answer);
}

TEST(Messages, HostileOnesAreRefused) {
  std::string deep = R"({"type":"showWindow","tree":)";
  for (int i = 0; i < 100; ++i) deep += R"({"children":[)";
  for (int i = 0; i < 100; ++i) deep += "]}";
  deep += "}";
  for (const char* line : {"{}", "[]", R"({"type":1})", R"({"type":"odd"})", R"({"type":"showMenu","menu":{}})",
                           R"({"type":"showMenu","menu":[{"form":6}]})", R"({"type":"showMenu","id":"1"})",
                           R"({"type":"showWindow","tree":{"kind":-1}})", deep.c_str()})
    EXPECT_THROW(messages::decodeDown(line), JsonError) << line;
  EXPECT_EQ(messages::decodeDown(R"({"type":"quit","more":{}})"), messages::Down(messages::Quit{}));
  EXPECT_EQ(std::get<messages::Ready>(messages::decodeUp(R"({"type":"ready"})")).version, 0)
      << "a version is never assumed";
}

}  // namespace
}  // namespace kestrelune
