#include "worker/frame_list.h"

#include "support/message_of.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

using testing::HasSubstr;

TEST(FrameList, NamesFramesInOrder) {
    const struct {
        const char* text;
        std::vector<int> frames;
    } cases[] = {
        {"7", {7}},
        {"1-4", {1, 2, 3, 4}},
        {"1-10x4", {1, 5, 9}},
        {"1-9x4,60", {1, 5, 9, 60}},
        {"3-3", {3}},
        {"-5--3", {-5, -4, -3}},
        {"-1-1", {-1, 0, 1}},
        {"4-1", {4, 3, 2, 1}},
        {"10-1x4", {10, 6, 2}},
        {" 5 , 1-2 ", {5, 1, 2}},
        {"1-3,2-5,1", {1, 2, 3, 4, 5}},
        {"2147483646-2147483647", {2147483646, 2147483647}},
        {"-2147483648-2147483647x2147483647", {-2147483647 - 1, -1, 2147483646}},
    };
    for (const auto& entry : cases)
        EXPECT_EQ(parse_frame_list(entry.text), entry.frames) << entry.text;
}

TEST(FrameList, RefusesWhatIsNoList) {
    const struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"", "names no frames"},
        {" ", "names no frames"},
        {"1,,2", "empty item"},
        {"1,", "empty item"},
        {"a", "\"a\" lacks a frame number"},
        {"1-5,x", "\"x\" lacks a frame number"},
        {"1-", "\"1-\" lacks the last frame"},
        {"1-5x", "\"1-5x\" lacks a step"},
        {"1-5x0", "\"1-5x0\" has a step below 1"},
        {"1-5x-2", "step below 1"},
        {"1x2", "\"x2\" at its end"},
        {"1-5-9", "\"-9\" at its end"},
        {"1.5", "\".5\" at its end"},
        {"2147483648", "beyond 32 bits"},
        {"-2147483648-2147483647", "longer than 100000 frames"},
        {"1-60000,100001-160000", "longer than 100000 frames"},
    };
    for (const auto& entry : cases)
        EXPECT_THAT(test::message_of([&] { parse_frame_list(entry.text); }), HasSubstr(entry.reason))
            << entry.text;
}

}  // namespace
}  // namespace corrivane::worker
