// Runs code where there is little stack.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <pthread.h>

// Runs the function on a thread with a stack of 256 KiB.
inline void RunOnSmallStack(const std::function<void()>& function)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024), 0);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<void*>(static_cast<const void*>(&function))), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}
