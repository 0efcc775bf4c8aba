#include "session/SessionRunLoop.hpp"

#include "RunLoopContract.hpp"

namespace kestrelune {
namespace {

std::unique_ptr<RunLoop> makeSessionRunLoop() { return std::make_unique<SessionRunLoop>(); }

INSTANTIATE_TEST_SUITE_P(Session, RunLoopContract, testing::Values(&makeSessionRunLoop));

}  // namespace
}  // namespace kestrelune
