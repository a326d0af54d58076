#pragma once

#include <gtest/gtest.h>

#include <thread>

#include <sys/wait.h>
#include <unistd.h>

/// Runs `action` in a forked child and returns the child's wait status; what the action returns is its exit code. A
/// child that hangs is ended.
template <class Action>
int RunInChild(Action action)
{
    pid_t const child = fork();
    if (child == 0)
    {
        alarm(60);
        _exit(action());
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

/// Expects `isGood` to be true in a forked child.
template <class IsGood>
void ExpectInChild(IsGood isGood)
{
    EXPECT_EQ(RunInChild([&] { return isGood() ? 0 : 1; }), 0);
}

/// The same in several children, while another thread of the parent does nothing but `work`. Skipped under the address
/// and the thread sanitizer: their allocators do not hold their locks around a fork, so that a child may wait for a
/// thread of the parent.
template <class Work, class IsGood>
void ExpectInChildrenOfBusyParent(int count, Work work, IsGood isGood)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "A child of a busy parent cannot allocate under this sanitizer.";
#endif
    std::jthread const busy(
        [&](std::stop_token stop)
        {
            while (!stop.stop_requested())
                work();
        });
    for (int child = 0; child < count && !testing::Test::HasFailure(); ++child)
        ExpectInChild(isGood);
}
