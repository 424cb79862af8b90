#include "host/maxscript/script_fixture.h"
#include "support/temporary_folder.h"

#include <max/maxscript/maxscript.h>

#include <sys/resource.h>

#include <csignal>

namespace corrivane::host {

namespace {

using FullDiskTest = ScriptTest;
CORRIVANE_SCRIPT_TEST(FullDiskTest);

TEST_P(FullDiskTest, WhatAFileHasNoRoomForIsAnErrorWhenItIsClosed) {
    const test::TemporaryFolder folder;
    const std::string name = folder / "full";
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{2, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string lost = "-- Runtime error: Unable to write to file: " + name + ": File too large";
    EXPECT_EQ(
        error_of("f = createFile \"" + name + "\"; format \"text\" to:f; close f").substr(0, lost.size()),
        lost);
    expect({
        {"close f", "OK"},
        {"f = createFile \"" + name + "\"; format \"text\" to:f; f = undefined; gc()", "OK"},
    });
    auto* file = new FileStream;
    const Rooted root(file);
    ASSERT_EQ(file->open(name.c_str(), "w"), file);
    file->puts("text");
    EXPECT_EQ(description([&] { file->open(name.c_str(), "w"); }), lost);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
}

}  // namespace

}  // namespace corrivane::host
