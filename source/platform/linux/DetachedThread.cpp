#include "platform/linux/DetachedThread.h"

#include <csignal>

#include <pthread.h>

namespace Quoll::Platform
{

int StartDetachedThread(const char* name, void* (*body)(void*), void* argument) noexcept
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const int failure = pthread_create(&thread, nullptr, body, argument);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (failure == 0)
    {
        pthread_setname_np(thread, name);
        pthread_detach(thread);
    }
    return failure;
}

} // namespace Quoll::Platform
