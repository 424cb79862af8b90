#include "support/temporary_folder.h"

#include <system/drive_map.h>
#include <windows.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>

namespace {

// Drive C and the network stand in a temporary folder; drive M's folder is missing and drive X has none.
class Files : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(native("c/folder/below"));
        corrivane::test::write_file(native("c/file.txt"), "12345");
        corrivane::test::write_file(native("net/server/share/file.txt"), "text");
        map_drive('C', native("c"));
        map_drive('M', native("missing"));
        map_network(native("net"));
    }
    void TearDown() override { clear_drive_map(); }

    std::string native(const std::string& name) const { return m_folder / name; }

private:
    const corrivane::test::TemporaryFolder m_folder;
};

HANDLE open_file(const char* path, DWORD access, DWORD disposition) {
    return CreateFileA(path, access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// What a call on the path comes to: the last error, or ERROR_SUCCESS.
DWORD query(const char* path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExA(path, GetFileExInfoStandard, &data) ? ERROR_SUCCESS : GetLastError();
}

DWORD search(const char* path) {
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path, &found);
    return search == INVALID_HANDLE_VALUE || !FindClose(search) ? GetLastError() : ERROR_SUCCESS;
}

DWORD create_folder(const char* path) {
    return CreateDirectoryA(path, nullptr) ? ERROR_SUCCESS : GetLastError();
}

DWORD read(const char* path) {
    const HANDLE file = open_file(path, GENERIC_READ, OPEN_EXISTING);
    return file == INVALID_HANDLE_VALUE || !CloseHandle(file) ? GetLastError() : ERROR_SUCCESS;
}

// Replaces the content by "abc".
DWORD write(const char* path) {
    const HANDLE file = open_file(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, "ab", 2, &written, nullptr));
    EXPECT_EQ(written, 2u);
    EXPECT_TRUE(WriteFile(file, "c", 1, nullptr, nullptr));
    return CloseHandle(file) ? ERROR_SUCCESS : GetLastError();
}

TEST_F(Files, CallsTellOneFailureFromAnother) {
    const std::string too_long = "C:\\" + std::string(300, 'x');
    const struct {
        DWORD (*call)(const char* path);
        const char* path;
        DWORD error;
    } cases[] = {
        {query, "C:\\file.txt", ERROR_SUCCESS},
        {query, "C:\\folder\\", ERROR_SUCCESS},
        {query, "C:\\", ERROR_SUCCESS},
        {query, "\\\\server\\share", ERROR_SUCCESS},
        {query, "C:\\FILE.TXT", ERROR_FILE_NOT_FOUND},
        {query, "C:\\missing\\file.txt", ERROR_PATH_NOT_FOUND},
        {query, "C:\\file.txt\\below", ERROR_PATH_NOT_FOUND},
        {query, "M:\\file.txt", ERROR_PATH_NOT_FOUND},
        {query, "X:\\file.txt", ERROR_PATH_NOT_FOUND},
        {query, "\\\\server\\other\\file.txt", ERROR_BAD_NETPATH},
        {query, "C:\\file.txt\\", ERROR_INVALID_NAME},
        {query, too_long.c_str(), ERROR_FILENAME_EXCED_RANGE},
        {search, "C:/folder/below", ERROR_SUCCESS},
        {search, "C:\\folder\\", ERROR_FILE_NOT_FOUND},
        {search, "C:\\", ERROR_FILE_NOT_FOUND},
        {search, "C:\\fil?.txt", ERROR_INVALID_NAME},
        {search, "\\\\server\\share", ERROR_BAD_NETPATH},
        {create_folder, "C:\\new", ERROR_SUCCESS},
        {create_folder, "C:\\new\\below\\", ERROR_SUCCESS},
        {create_folder, "C:\\new", ERROR_ALREADY_EXISTS},
        {create_folder, "C:\\none\\below", ERROR_PATH_NOT_FOUND},
        {create_folder, "C:", ERROR_ACCESS_DENIED},
        {create_folder, "M:\\", ERROR_PATH_NOT_FOUND},
        {create_folder, "\\\\server\\share\\new", ERROR_SUCCESS},
        {create_folder, "\\\\server\\share", ERROR_ACCESS_DENIED},
        {create_folder, "\\\\server\\new", ERROR_BAD_NETPATH},
        {read, "C:\\missing.txt", ERROR_FILE_NOT_FOUND},
        {read, "C:\\folder", ERROR_ACCESS_DENIED},
        {read, "C:\\pipe", ERROR_ACCESS_DENIED},
        {write, "C:\\missing\\file.txt", ERROR_PATH_NOT_FOUND},
        {write, "C:\\folder", ERROR_ACCESS_DENIED},
        {write, "C:\\pipe", ERROR_ACCESS_DENIED},
        {write, "/dev/null", ERROR_ACCESS_DENIED},
        {write, "\\\\server\\new", ERROR_BAD_NETPATH},
        {write, "C:\\file.txt", ERROR_SUCCESS},
    };
    ASSERT_EQ(mkfifo(native("c/pipe").c_str(), 0600), 0);
    for (const auto& [call, path, error] : cases)
        EXPECT_EQ(call(path), error) << path;
    EXPECT_FALSE(CloseHandle(nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(corrivane::test::read_file(native("c/file.txt")), "abc");
    EXPECT_TRUE(std::filesystem::is_directory(native("c/new/below")));
    EXPECT_FALSE(std::filesystem::exists(native("missing")));
    EXPECT_FALSE(std::filesystem::exists(native("net/server/new")));
}

TEST_F(Files, WriteTimeComesThroughToItsParts) {
    const struct {
        std::time_t seconds;
        SYSTEMTIME parts;
    } times[] = {{951'827'696, {2000, 2, 2 /* Tuesday */, 29, 12, 34, 56, 789}},
                 {4'107'542'400, {2100, 3, 1 /* Monday */, 1, 0, 0, 0, 789}}};
    for (const auto& [seconds, expected] : times) {
        const timespec modified[2] = {{0, UTIME_OMIT}, {seconds, 789'000'000}};
        ASSERT_EQ(utimensat(AT_FDCWD, native("c/file.txt").c_str(), modified, 0), 0);
        const HANDLE file = open_file("C:\\file.txt", GENERIC_READ, OPEN_EXISTING);
        FILETIME utc;
        SYSTEMTIME parts;
        ASSERT_TRUE(GetFileTime(file, nullptr, nullptr, &utc));
        CloseHandle(file);
        ASSERT_TRUE(FileTimeToSystemTime(&utc, &parts));
        EXPECT_EQ(std::memcmp(&parts, &expected, sizeof(parts)), 0) << seconds;
    }
}

TEST(FormatMessage, GivesTheSystemsTexts) {
    const auto text_of = [](DWORD error) {
        char* text = nullptr;
        const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER,
                                            nullptr, error, 0, reinterpret_cast<LPSTR>(&text), 0, nullptr);
        std::string result = text != nullptr ? std::string(text, length) : std::string();
        LocalFree(text);
        return result;
    };
    EXPECT_EQ(text_of(ERROR_ACCESS_DENIED), "Access is denied.\r\n");
    for (const DWORD error :
         {0u, 2u, 3u, 32u, 53u, 80u, 112u, 123u, 145u, 183u, 206u, 267u, 10048u, 10054u, 10093u})
        EXPECT_TRUE(text_of(error).ends_with(".\r\n")) << error;
    EXPECT_EQ(text_of(424242), "");
}

}  // namespace
