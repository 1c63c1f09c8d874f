#include "support/Eventually.h"
#include "support/Gate.h"
#include "support/Threads.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace Quoll::Tests
{

namespace
{

// What callbacks do, and how far they are.
struct Scene
{
    static void CALLBACK Count(PTP_CALLBACK_INSTANCE, void* scene, PTP_WORK)
    {
        ++static_cast<Scene*>(scene)->ended;
    }
    static void CALLBACK BlockAndCount(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK)
    {
        auto* const scene = static_cast<Scene*>(context);
        ++scene->begun;
        scene->go.Wait();
        ++scene->ended;
    }

    Gate go;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
};

TEST(ThreadpoolContract, EachSubmissionIsOneCallAndWaitingWaitsForAll)
{
    constexpr int producers = 4;
    constexpr int calls = 500;
    Scene scene;
    const PTP_WORK work = CreateThreadpoolWork(Scene::Count, &scene, nullptr);
    ASSERT_NE(work, nullptr);
    WaitForThreadpoolWorkCallbacks(work, FALSE); // nothing to wait for
    for (int round = 1; round <= 5; ++round)
    {
        OnThreads(producers, [work](unsigned) {
            for (int call = 0; call < calls; ++call)
            {
                SubmitThreadpoolWork(work);
            }
        });
        WaitForThreadpoolWorkCallbacks(work, FALSE);
        EXPECT_EQ(scene.ended, round * producers * calls);
    }
    CloseThreadpoolWork(work);
}

TEST(ThreadpoolContract, BlockedCallbacksHoldUpNobody)
{
    Scene blocked;
    Scene counted;
    const PTP_WORK blocking = CreateThreadpoolWork(Scene::BlockAndCount, &blocked, nullptr);
    const PTP_WORK counting = CreateThreadpoolWork(Scene::Count, &counted, nullptr);
    constexpr int calls = 8;
    for (int i = 0; i < calls; ++i)
    {
        // One at a time: of a burst Wine runs no more than it has threads for, until the next submission.
        SubmitThreadpoolWork(blocking);
        ASSERT_TRUE(Eventually([&] { return blocked.begun == i + 1; }));
        SubmitThreadpoolWork(counting);
    }
    WaitForThreadpoolWorkCallbacks(counting, FALSE);
    EXPECT_EQ(counted.ended, calls);
    EXPECT_EQ(blocked.ended, 0);
    blocked.go.Arrive();
    WaitForThreadpoolWorkCallbacks(blocking, FALSE);
    EXPECT_EQ(blocked.ended, calls);
    CloseThreadpoolWork(blocking);
    CloseThreadpoolWork(counting);
}

TEST(ThreadpoolContract, CancellingDropsWhatHasNotBegunAndWaitsForTheRest)
{
    Scene scene;
    const PTP_WORK work = CreateThreadpoolWork(Scene::BlockAndCount, &scene, nullptr);
    constexpr int calls = 2000; // more than there may be threads
    for (int i = 0; i < calls; ++i)
    {
        SubmitThreadpoolWork(work);
    }
    ASSERT_TRUE(Eventually([&] { return scene.begun > 0; }));
    std::atomic<bool> waited = false;
    std::thread canceller([&] {
        WaitForThreadpoolWorkCallbacks(work, TRUE);
        waited = true;
    });
    EXPECT_FALSE(Eventually([&] { return waited.load(); }, std::chrono::milliseconds(50)));
    scene.go.Arrive();
    canceller.join();
    EXPECT_EQ(scene.ended, scene.begun);
    EXPECT_LT(scene.ended, calls);
    SubmitThreadpoolWork(work);
    WaitForThreadpoolWorkCallbacks(work, FALSE);
    EXPECT_EQ(scene.ended, scene.begun);
    CloseThreadpoolWork(work);
}

TEST(ThreadpoolContract, ClosedWorkStillRunsWhatWasSubmitted)
{
    Scene scene;
    const PTP_WORK work = CreateThreadpoolWork(Scene::BlockAndCount, &scene, nullptr);
    constexpr int calls = 4;
    for (int i = 0; i < calls; ++i)
    {
        SubmitThreadpoolWork(work);
    }
    CloseThreadpoolWork(work);
    scene.go.Arrive();
    EXPECT_TRUE(Eventually([&] { return scene.ended == calls; }));
}

TEST(ThreadpoolContract, ACallbackMaySubmitItsOwnWorkAgain)
{
    struct Chain
    {
        static void CALLBACK Step(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK work)
        {
            if (--static_cast<Chain*>(context)->left > 0)
            {
                SubmitThreadpoolWork(work);
            }
        }
        std::atomic<int> left = 1000;
    } chain;
    const PTP_WORK work = CreateThreadpoolWork(Chain::Step, &chain, nullptr);
    SubmitThreadpoolWork(work);
    WaitForThreadpoolWorkCallbacks(work, FALSE);
    EXPECT_EQ(chain.left, 0);
    CloseThreadpoolWork(work);
}

TEST(ThreadpoolContract, ADisassociatedCallbackMayWaitForTheOthers)
{
    struct Waiting
    {
        static void CALLBACK Wait(PTP_CALLBACK_INSTANCE instance, void* ended, PTP_WORK work)
        {
            DisassociateCurrentThreadFromCallback(instance);
            WaitForThreadpoolWorkCallbacks(work, FALSE);
            CloseThreadpoolWork(work);
            *static_cast<std::atomic<bool>*>(ended) = true;
        }
    };
    std::atomic<bool> ended = false;
    const PTP_WORK work = CreateThreadpoolWork(Waiting::Wait, &ended, nullptr);
    SubmitThreadpoolWork(work);
    EXPECT_TRUE(Eventually([&] { return ended.load(); }));
}

} // namespace

} // namespace Quoll::Tests
