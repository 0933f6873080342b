#include "network.h"

#include <gtest/gtest.h>

int main(int count, char** arguments)
{
    const std::vector<std::string> all(arguments, arguments + count);
    testing::InitGoogleTest(&count, arguments);
    if (!testing::GTEST_FLAG(list_tests))
        EnterOwnNetwork(all);
    return RUN_ALL_TESTS();
}
