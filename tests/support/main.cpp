#include "support/ChildProcess.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (const auto exitCode = Quoll::Tests::RunChildFunction(argc, argv))
    {
        return *exitCode;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
