#include "worker/farm_answers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corrivane::worker {
namespace {

TEST(FarmAnswers, ValueRequestsAreAnsweredFromTheJob) {
    Job job;
    job.job_info = {{"Name", "Robot, blue"}, {"Empty", ""}, {"a,b c", "odd key"}};
    job.submit_info = {
        {"Files", {"one", "two", "three"}}, {"User", {"ana"}}, {"None", {}}, {"x,y", {"commas"}}};
    job.aux_files = {"first.txt", "second.txt"};
    const struct {
        const char* request;
        const char* answer;  // null: not found, in whatever words
    } cases[] = {
        {"GETJOBINFOENTRY Name", "Robot, blue"},
        {"GETJOBINFOENTRY Empty", ""},
        {"GETJOBINFOENTRY a,b c", "odd key"},
        {"GETJOBINFOENTRY name", nullptr},
        {"GETJOBINFOENTRY ", nullptr},
        {"GETSUBMITINFOENTRY User", "ana"},
        {"GETSUBMITINFOENTRY Files", "one,two,three"},
        {"GETSUBMITINFOENTRY Nobody", nullptr},
        {"GETSUBMITINFOENTRYELEMENTCOUNT Files", "3"},
        {"GETSUBMITINFOENTRYELEMENTCOUNT User", "1"},
        {"GETSUBMITINFOENTRYELEMENTCOUNT None", "0"},
        {"GETSUBMITINFOENTRYELEMENTCOUNT Nobody", nullptr},
        {"GETSUBMITINFOENTRYELEMENT 2,Files", "three"},
        {"GETSUBMITINFOENTRYELEMENT 0,x,y", "commas"},
        {"GETSUBMITINFOENTRYELEMENT 3,Files", nullptr},
        {"GETSUBMITINFOENTRYELEMENT -1,Files", nullptr},
        {"GETSUBMITINFOENTRYELEMENT Files", nullptr},
        {"GETSUBMITINFOENTRYELEMENT 99999999999999999999999,Files", nullptr},
        {"GETAUXFILE 1", "second.txt"},
        {"GETAUXFILE 2", nullptr},
        {"GETAUXFILE -1", nullptr},
        {"GETAUXFILE 0x1", nullptr},
        {"GETAUXFILE ", nullptr},
    };
    for (const auto& entry : cases) {
        const auto answer = answer_value_request(std::string("FUNCTION: ") + entry.request, job);
        ASSERT_TRUE(answer) << entry.request;
        if (entry.answer != nullptr)
            EXPECT_EQ(*answer, std::string("SUCCESS: ") + entry.answer) << entry.request;
        else
            EXPECT_THAT(*answer, testing::StartsWith("ERROR: ")) << entry.request;
    }
    for (const char* other : {"FUNCTION: SETTITLE GETAUXFILE 1", "GETAUXFILE 1", "FUNCTION: GETAUXFILE", ""})
        EXPECT_FALSE(answer_value_request(other, job)) << other;
}

TEST(FarmAnswers, ProgressIsAPercentageOrUnknown) {
    const struct {
        const char* text;
        double percent;
    } cases[] = {
        {"0", 0},     {"45.5", 45.5}, {"33.33333", 33.33333}, {"100", 100}, {"250", 100}, {"-1", -1},
        {"-0.5", -1}, {"nan", -1},    {"inf", 100},           {"", -1},     {"x", -1},    {"50%", -1},
        {"1e999", -1}};
    for (const auto& entry : cases)
        EXPECT_EQ(parse_progress(entry.text), entry.percent) << entry.text;
}

}  // namespace
}  // namespace corrivane::worker
