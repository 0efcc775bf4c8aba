#include "Settle.hpp"

#include "Fakes/FakeDefaults.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

const Date kNow{1'800'000'000};

TEST(Settle, LaterAndDoneEndAfterTheirTime) {
  FakeDefaults defaults;
  SettleStore store(defaults);
  store.hide("later", false, kNow);
  store.hide("done", true, kNow);
  store.hide("a\037ü\037", false, kNow + 0.5);
  EXPECT_EQ(SettleStore(defaults).marks(), store.marks()) << "the marks survive a restart";
  EXPECT_EQ(store.marks().at("later"), (SettleMark{.until = kNow.seconds + 10800, .done = false}));
  EXPECT_EQ(store.marks().at("done"), (SettleMark{.until = kNow.seconds + 2592000, .done = true}));

  store.show("a\037ü\037", kNow);
  EXPECT_EQ(store.marks().size(), 2u) << "showing again leaves the others";
  store.hide("later", true, kNow);
  EXPECT_TRUE(store.marks().at("later").done) << "Done on an item marked Later replaces it";
  store.hide("done", false, kNow + 1);
  store.hide("other", false, kNow + 10801);
  EXPECT_EQ(store.marks().size(), 2u) << "a mark that has ended is dropped by the next write";
}

TEST(Settle, TheMarkThatEndsFirstGivesWay) {
  FakeDefaults defaults;
  SettleStore store(defaults);
  for (int i = 0; i <= 500; ++i) store.hide("key" + std::to_string(i), false, kNow + (i == 7 ? -1.0 : i / 1000.0));
  EXPECT_EQ(store.marks().size(), 500u);
  EXPECT_FALSE(store.marks().contains("key7"));
}

TEST(Settle, DamagedMarksCountAsNoneAndAreReplaced) {
  for (const char* text : {"", "[]", "{\"a\":1}", "{\"a\":{\"until\":1}}", "{\"a\":{\"until\":\"1\",\"done\":true}}"}) {
    FakeDefaults defaults;
    defaults.setData(SettleStore::kDefaultsKey, text);
    SettleStore store(defaults);
    EXPECT_TRUE(store.marks().empty()) << text;
    store.hide("k", true, kNow);
    EXPECT_EQ(store.marks().size(), 1u);
  }
}

}  // namespace
}  // namespace kestrelune
