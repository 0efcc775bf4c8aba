// Its presence tells `system::isRunningTests` that this process runs tests.
extern "C" {
[[gnu::visibility("default")]] extern const char kestreluneRunsTests;
const char kestreluneRunsTests = 1;
}
