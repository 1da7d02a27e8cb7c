// As a program of a Spanish desktop starts: under the locale of its environment.
#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (std::setlocale(LC_ALL, "") == nullptr) return 2;
    return RUN_ALL_TESTS();
}
