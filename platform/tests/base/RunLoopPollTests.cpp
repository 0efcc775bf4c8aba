#include "RunLoopContract.hpp"

namespace kestrelune {
namespace {

INSTANTIATE_TEST_SUITE_P(Poll, RunLoopContract, testing::Values(&makePollRunLoop));

TEST(RunLoopPollTest, TimersFireInOrderAndMayEndOnesThatAreDueWithThem) {
  const auto loop = makePollRunLoop();
  std::vector<int> order;
  Timer dropped;
  const Timer last = loop->after(0.04, [&] {
    order.push_back(2);
    loop->stop();
  });
  const Timer first = loop->after(0.02, [&] {
    order.push_back(1);
    dropped.reset();
  });
  dropped = loop->after(0.03, [] { FAIL() << "fired after it was dropped"; });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  loop->run();
  EXPECT_EQ(order, (std::vector{1, 2}));
}

}  // namespace
}  // namespace kestrelune
