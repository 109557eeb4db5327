#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

// A test that ends the whole process (code that calls exit where it should
// have called a hook) must not pass for the status 0 it exits with. A death
// test's child is meant to exit, so it is left alone.
namespace {

const bool kGuarded = [] {
    std::atexit([] {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        if (!test || !GTEST_FLAG_GET(internal_run_death_test).empty()) return;
        std::fprintf(stderr, "%s.%s ended the process\n", test->test_suite_name(), test->name());
        std::_Exit(1);
    });
    return true;
}();

}  // namespace
