#include "support/log.h"

#include "plugin/plugin_test.h"

#include <windows.h>

#include <map>
#include <thread>

namespace corrivane::test {
namespace {

using Log = PluginTest;

TEST_F(Log, EntriesAreLinesThatAreOnDiskAtOnce) {
    connect_log.entry("Command: ", "a,b");
    EXPECT_EQ(log(), "Command: a,b\n");
    connect_log.entry("");
    connect_log.entry(-7, ' ', true, ' ', 0.1F, ' ', std::string("with\nbreak"));
    EXPECT_EQ(log(), "Command: a,b\n\n-7 1 0.1 with\nbreak\n");
    log_calling_thread();
    EXPECT_TRUE(log().ends_with("\nThread: " + std::to_string(GetCurrentThreadId()) + "\n"));
}

TEST_F(Log, HeldLinesGoToDiskBeforeTheNextEntry) {
    connect_log.entry_before_next("\nGot command: ", "a");
    EXPECT_EQ(log(), "");
    connect_log.entry_before_next("second");
    connect_log.entry("Command: a");
    EXPECT_EQ(log(), "\nGot command: a\nsecond\nCommand: a\n");
    {
        log_stream stream;
        stream.open(connect_log_path);
        stream.entry_before_next("last");
    }
    EXPECT_EQ(log(), "last\n");
}

TEST_F(Log, WithoutItsFolderEverythingIsDiscarded) {
    log_stream stream;
    stream.entry("closed");
    stream.open("C:\\none\\log.txt");
    stream.entry("still closed");
    EXPECT_FALSE(std::filesystem::exists(on_disk("none")));
}

TEST_F(Log, EntriesOfManyThreadsDoNotMix) {
    constexpr int threads = 8;
    constexpr int entries = 1000;
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < threads; ++writer) {
        writers.emplace_back([writer] {
            for (int i = 0; i < entries; ++i)
                connect_log.entry("writer ", writer, " wrote ",
                                  std::string(100, static_cast<char>('a' + writer)));
        });
    }
    writers.clear();  // waits for them

    std::map<std::string, int> seen;
    for (const std::string& line : read_lines(on_disk("Quillane\\logs\\3dsmaxConnect.log")))
        ++seen[line];
    EXPECT_EQ(seen.size(), threads);
    for (const auto& [line, times] : seen)
        EXPECT_EQ(times, entries) << line;
}

}  // namespace
}  // namespace corrivane::test
