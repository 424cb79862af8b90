#include "support/temporary_folder.h"

#include <drive_map.h>
#include <windows.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

DWORD attributes_error(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data) ? ERROR_SUCCESS : GetLastError();
}

struct Case {
    const char* path;
    DWORD error;
};

TEST_F(Files, AttributesTellOneFailureFromAnother) {
    const std::string too_long = "C:\\" + std::string(300, 'x');
    const Case cases[] = {
        {"C:\\file.txt", ERROR_SUCCESS},
        {"C:\\folder\\", ERROR_SUCCESS},
        {"C:\\", ERROR_SUCCESS},
        {"\\\\server\\share", ERROR_SUCCESS},
        {"\\\\server\\share\\file.txt", ERROR_SUCCESS},
        {"C:\\missing.txt", ERROR_FILE_NOT_FOUND},
        {"C:\\missing\\", ERROR_FILE_NOT_FOUND},
        {"C:\\FILE.TXT", ERROR_FILE_NOT_FOUND},
        {"C:\\missing\\file.txt", ERROR_PATH_NOT_FOUND},
        {"C:\\file.txt\\below", ERROR_PATH_NOT_FOUND},
        {"M:\\file.txt", ERROR_PATH_NOT_FOUND},
        {"M:\\", ERROR_PATH_NOT_FOUND},
        {"X:\\file.txt", ERROR_PATH_NOT_FOUND},
        {"\\\\server\\other\\file.txt", ERROR_BAD_NETPATH},
        {"C:\\file.txt\\", ERROR_INVALID_NAME},
        {too_long.c_str(), ERROR_FILENAME_EXCED_RANGE},
    };
    for (const Case& query : cases)
        EXPECT_EQ(attributes_error(query.path), query.error) << query.path;
}

TEST_F(Files, UnreachableFilesAreDenied) {
    if (geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to root";
    std::filesystem::create_directory(native("c/closed"));
    chmod(native("c/closed").c_str(), 0);
    EXPECT_EQ(attributes_error("C:\\closed\\file.txt"), ERROR_ACCESS_DENIED);
    chmod(native("c/closed").c_str(), 0700);
}

TEST_F(Files, AttributesDescribeTheEntry) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    ASSERT_TRUE(GetFileAttributesExA("C:\\file.txt", GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(data.nFileSizeLow, 5u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    chmod(native("c/file.txt").c_str(), 0444);
    ASSERT_TRUE(GetFileAttributesExA("C:\\file.txt", GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(GetFileAttributesExA("C:\\folder", GetFileExInfoStandard, &data));
    EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
}

TEST_F(Files, SearchFindsOneEntryByItsExactName) {
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA("C:/folder/below", &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_STREQ(found.cFileName, "below");
    EXPECT_TRUE(FindClose(search));
    EXPECT_FALSE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    constexpr Case cases[] = {
        {"C:\\folder\\", ERROR_FILE_NOT_FOUND},   {"C:\\", ERROR_FILE_NOT_FOUND},
        {"C:\\missing\\x", ERROR_PATH_NOT_FOUND}, {"C:\\fil?.txt", ERROR_INVALID_NAME},
        {"\\\\server\\share", ERROR_BAD_NETPATH},
    };
    for (const Case& query : cases) {
        EXPECT_EQ(FindFirstFileA(query.path, &found), INVALID_HANDLE_VALUE) << query.path;
        EXPECT_EQ(GetLastError(), query.error) << query.path;
    }
}

TEST_F(Files, AreDeletedButDirectoriesAndReadOnlyOnesAreNot) {
    std::filesystem::permissions(native("c/file.txt"), std::filesystem::perms::owner_read);
    EXPECT_FALSE(DeleteFileA("C:\\file.txt"));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    std::filesystem::permissions(native("c/file.txt"), std::filesystem::perms::owner_all);
    EXPECT_TRUE(DeleteFileA("C:\\file.txt"));
    EXPECT_FALSE(std::filesystem::exists(native("c/file.txt")));
    constexpr Case cases[] = {
        {"C:\\file.txt", ERROR_FILE_NOT_FOUND},
        {"C:\\none\\file.txt", ERROR_PATH_NOT_FOUND},
        {"C:\\", ERROR_ACCESS_DENIED},
    };
    for (const Case& refused : cases) {
        EXPECT_FALSE(DeleteFileA(refused.path)) << refused.path;
        EXPECT_EQ(GetLastError(), refused.error) << refused.path;
    }
}

DWORD create_error(const char* path) {
    return CreateDirectoryA(path, nullptr) ? ERROR_SUCCESS : GetLastError();
}

TEST_F(Files, DirectoriesAreCreatedOneLevelAtATimeAndRootsNever) {
    constexpr Case cases[] = {
        {"C:\\new", ERROR_SUCCESS},
        {"C:\\new\\below\\", ERROR_SUCCESS},
        {"C:\\new", ERROR_ALREADY_EXISTS},
        {"C:\\file.txt", ERROR_ALREADY_EXISTS},
        {"C:\\none\\below", ERROR_PATH_NOT_FOUND},
        {"C:", ERROR_ACCESS_DENIED},
        {"M:\\", ERROR_PATH_NOT_FOUND},
        {"M:\\new", ERROR_PATH_NOT_FOUND},
        {"\\\\server\\share\\new", ERROR_SUCCESS},
        {"\\\\server\\share", ERROR_ACCESS_DENIED},
        {"\\\\server\\new", ERROR_BAD_NETPATH},
    };
    for (const Case& creation : cases)
        EXPECT_EQ(create_error(creation.path), creation.error) << creation.path;
    EXPECT_TRUE(std::filesystem::is_directory(native("c/new/below")));
    EXPECT_TRUE(std::filesystem::is_directory(native("net/server/share/new")));
    EXPECT_FALSE(std::filesystem::exists(native("missing")));
    EXPECT_FALSE(std::filesystem::exists(native("net/server/new")));
}

HANDLE open_file(const char* path, DWORD access, DWORD disposition) {
    return CreateFileA(path, access, FILE_SHARE_READ, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(Files, WritingReplacesTheContent) {
    const HANDLE file = open_file("C:\\file.txt", GENERIC_WRITE, CREATE_ALWAYS);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, "ab", 2, &written, nullptr));
    EXPECT_EQ(written, 2u);
    EXPECT_TRUE(WriteFile(file, "c", 1, nullptr, nullptr));
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(corrivane::test::read_file(native("c/file.txt")), "abc");
}

TEST_F(Files, OpeningSaysWhyItFails) {
    struct Opening {
        const char* path;
        DWORD access, disposition, error;
    };
    ASSERT_EQ(mkfifo(native("c/pipe").c_str(), 0600), 0);
    constexpr Opening openings[] = {
        {"C:\\pipe", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"C:\\pipe", FILE_APPEND_DATA, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"/dev/null", GENERIC_WRITE, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"C:\\missing.txt", GENERIC_READ, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
        {"C:\\missing\\file.txt", GENERIC_WRITE, CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
        {"C:\\folder", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
        {"C:\\folder", GENERIC_WRITE, CREATE_ALWAYS, ERROR_ACCESS_DENIED},
        {"C:\\file.txt", GENERIC_WRITE, CREATE_NEW, ERROR_FILE_EXISTS},
        {"C:\\file.txt", GENERIC_READ, 77, ERROR_INVALID_PARAMETER},
        {"C:\\a:b", GENERIC_WRITE, CREATE_ALWAYS, ERROR_INVALID_NAME},
        {"\\\\server\\new", GENERIC_WRITE, CREATE_ALWAYS, ERROR_BAD_NETPATH},
        {"M:\\", GENERIC_WRITE, CREATE_ALWAYS, ERROR_PATH_NOT_FOUND},
    };
    for (const Opening& opening : openings) {
        EXPECT_EQ(open_file(opening.path, opening.access, opening.disposition), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), opening.error) << opening.path;
    }
}

TEST_F(Files, HandlesThatAreNoneAreRefused) {
    const HANDLE file = open_file("C:\\file.txt", GENERIC_READ, OPEN_EXISTING);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 7;
    EXPECT_FALSE(WriteFile(file, "ab", 2, &written, nullptr));  // open for reading only
    EXPECT_EQ(written, 0u);
    ASSERT_TRUE(CloseHandle(file));
    FILETIME time;
    for (const HANDLE closed : {file, INVALID_HANDLE_VALUE, HANDLE{nullptr}}) {
        EXPECT_FALSE(CloseHandle(closed));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_FALSE(GetFileTime(closed, nullptr, nullptr, &time));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
}

TEST_F(Files, WriteTimeComesThroughToItsParts) {
    const timespec modified[2] = {{0, UTIME_OMIT},
                                  {951'827'696, 789'000'000}};  // 2000-02-29 12:34:56.789 UTC
    ASSERT_EQ(utimensat(AT_FDCWD, native("c/file.txt").c_str(), modified, 0), 0);
    const HANDLE file = open_file("C:\\file.txt", GENERIC_READ, OPEN_EXISTING);
    FILETIME utc, local;
    SYSTEMTIME parts;
    ASSERT_TRUE(GetFileTime(file, nullptr, nullptr, &utc));
    CloseHandle(file);
    ASSERT_TRUE(FileTimeToSystemTime(&utc, &parts));
    const SYSTEMTIME expected{2000, 2, 2 /* Tuesday */, 29, 12, 34, 56, 789};
    EXPECT_EQ(std::memcmp(&parts, &expected, sizeof(parts)), 0);

    ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
    const std::time_t now = std::time(nullptr);
    const auto ticks = [](const FILETIME& time) {
        return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    };
    EXPECT_EQ((ticks(local) - ticks(utc)) / 10'000'000, std::localtime(&now)->tm_gmtoff);
}

TEST(FileTime, CalendarHolds) {
    struct Day {
        std::uint64_t days;  // since 1601-01-01
        WORD year, month, day;
    };
    constexpr Day days[] = {{0, 1601, 1, 1},           {58, 1601, 2, 28},     {59, 1601, 3, 1},
                            {36'217, 1700, 2, 28},     {36'218, 1700, 3, 1},  {109'206, 1899, 12, 31},
                            {134'774, 1970, 1, 1},     {145'731, 2000, 1, 1}, {145'790, 2000, 2, 29},
                            {10'675'199, 30828, 9, 14}};
    for (const Day& expected : days) {
        const std::uint64_t ticks = expected.days * 864'000'000'000;
        const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        SYSTEMTIME parts;
        ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
        EXPECT_EQ(parts.wYear, expected.year) << expected.days;
        EXPECT_EQ(parts.wMonth, expected.month) << expected.days;
        EXPECT_EQ(parts.wDay, expected.day) << expected.days;
    }
    const FILETIME beyond{0, 0x80000000};
    SYSTEMTIME parts;
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &parts));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

std::string system_text(DWORD error) {
    char* text = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr,
        error, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPSTR>(&text), 0, nullptr);
    const std::string result = text != nullptr ? std::string(text, length) : std::string();
    LocalFree(text);
    return result;
}

TEST(FormatMessage, GivesTheSystemsTexts) {
    EXPECT_EQ(system_text(ERROR_ACCESS_DENIED), "Access is denied.\r\n");
    EXPECT_EQ(system_text(ERROR_BAD_NETPATH), "The network path was not found.\r\n");
    EXPECT_EQ(system_text(10061),
              "No connection could be made because the target machine actively refused it.\r\n");
    for (const DWORD error :
         {0u, 2u, 3u, 5u, 32u, 80u, 112u, 123u, 145u, 183u, 206u, 267u, 10048u, 10054u, 10093u})
        EXPECT_TRUE(system_text(error).ends_with(".\r\n")) << error;
    EXPECT_EQ(system_text(424242), "");
    EXPECT_EQ(GetLastError(), ERROR_MR_MID_NOT_FOUND);
}

TEST(FormatMessage, FillsACallersBuffer) {
    char buffer[20];
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, buffer, sizeof(buffer), nullptr),
              19u);
    EXPECT_STREQ(buffer, "Access is denied.\r\n");
    EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, buffer, 19, nullptr), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

}  // namespace
