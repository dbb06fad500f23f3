// FindFirstFileA / FindNextFileA / FindClose: wildcards, records, errors.
#include "filetest.h"

#include <vector>

using namespace filetest;

namespace {

using Set = std::set<std::string>;
const Set kAll = {"alpha.txt", "Beta.TXT", "abc.txt", "gamma.log", "noext", "sub"};

class Find : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"alpha.txt", "Beta.TXT", "abc.txt", "gamma.log", "noext"})
            ASSERT_TRUE(Write(m_dir / name, "12345"));
        ASSERT_TRUE(CreateDirectoryA((m_dir / "sub").c_str(), nullptr));
    }
    Set Match(const std::string& pattern) { return Names(m_dir / pattern); }
    // The first record for a name or pattern, the search closed again.
    WIN32_FIND_DATAA First(const std::string& pattern) {
        WIN32_FIND_DATAA data{};
        HANDLE search = FindFirstFileA(pattern.c_str(), &data);
        EXPECT_NE(search, INVALID_HANDLE_VALUE) << pattern;
        FindClose(search);
        return data;
    }

    Dir m_dir;
};

TEST_F(Find, WildcardsMatchWithoutRegardToCase) {
    EXPECT_EQ(Match("*"), kAll);
    EXPECT_EQ(Match("*.*"), kAll); // names without a dot included
    EXPECT_EQ(Match("*.txt"), (Set{"alpha.txt", "Beta.TXT", "abc.txt"}));
    EXPECT_EQ(Match("*.TXT"), (Set{"alpha.txt", "Beta.TXT", "abc.txt"}));
    EXPECT_EQ(Match("a?c.txt"), (Set{"abc.txt"}));
    EXPECT_EQ(Match("b*"), (Set{"Beta.TXT"}));
    EXPECT_EQ(Match("*a.*"), (Set{"alpha.txt", "Beta.TXT", "gamma.log"}));
    EXPECT_EQ(Match("g????.log"), (Set{"gamma.log"}));
    EXPECT_EQ(Match("noext.*"), (Set{"noext"}));
    EXPECT_EQ(Match("*t"), (Set{"alpha.txt", "Beta.TXT", "abc.txt", "noext"}));
    EXPECT_EQ(Match("NOEXT"), (Set{"noext"})); // the name as the directory spells it
}

// Outside a drive root "." and ".." come first; records carry names as the
// directory spells them, sizes and attributes.
TEST_F(Find, RecordsInOrderWithAttributesAndSizes) {
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA((m_dir / "*").c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    std::vector<std::string> names{data.cFileName};
    std::vector<DWORD> attributes{data.dwFileAttributes};
    while (FindNextFileA(search, &data)) {
        names.push_back(data.cFileName);
        attributes.push_back(data.dwFileAttributes);
    }
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_WIN32(FindNextFileA(search, &data), FALSE, ERROR_NO_MORE_FILES);
    EXPECT_TRUE(FindClose(search));
    ASSERT_EQ(names.size(), kAll.size() + 2);
    EXPECT_EQ(names[0], ".");
    EXPECT_EQ(names[1], "..");
    EXPECT_TRUE(attributes[0] & attributes[1] & FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(Match("*.txt").count("."), 0u);

    data = First(m_dir / "gamma.log");
    EXPECT_STREQ(data.cFileName, "gamma.log");
    EXPECT_EQ(data.nFileSizeLow, 5u);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_FALSE(data.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY));
    EXPECT_NE(data.ftLastWriteTime.dwHighDateTime, 0u);
    // A directory named without wildcards finds its own entry.
    data = First(m_dir / "SUB");
    EXPECT_STREQ(data.cFileName, "sub");
    EXPECT_TRUE(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
    ASSERT_TRUE(SetFileAttributesA((m_dir / "noext").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(First(m_dir / "noext").dwFileAttributes & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(SetFileAttributesA((m_dir / "noext").c_str(), FILE_ATTRIBUTE_NORMAL));
    // A name without wildcards gives one record.
    search = FindFirstFileA((m_dir / "gamma.log").c_str(), &data);
    EXPECT_WIN32(FindNextFileA(search, &data), FALSE, ERROR_NO_MORE_FILES);
    FindClose(search);
}

// The last-write time a search reports is the handle's, and copying keeps it.
TEST_F(Find, WriteTimeMatchesTheHandleAndSurvivesCopy) {
    const std::string path = m_dir / "gamma.log", copy = m_dir / "copy.log";
    HANDLE file = Open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    FILETIME created{}, accessed{}, written{};
    ASSERT_TRUE(GetFileTime(file, &created, &accessed, &written));
    CloseHandle(file);
    // After 2001-01-01 (FILETIME 0x01C07385'2A3C4000): 100 ns since 1601.
    EXPECT_GT(written.dwHighDateTime, 0x01C07385u);
    ASSERT_TRUE(CopyFileA(path.c_str(), copy.c_str(), TRUE));
    for (const std::string& name : {path, copy}) {
        const FILETIME found = First(name).ftLastWriteTime;
        EXPECT_EQ(found.dwLowDateTime, written.dwLowDateTime) << name;
        EXPECT_EQ(found.dwHighDateTime, written.dwHighDateTime) << name;
    }
}

TEST_F(Find, FailuresAsWindowsReportsThem) {
    const struct {
        std::string pattern;
        DWORD error;
    } cases[] = {
        {m_dir / "zz*", ERROR_FILE_NOT_FOUND},        {m_dir / "missing.txt", ERROR_FILE_NOT_FOUND},
        {m_dir / "missing\\*", ERROR_PATH_NOT_FOUND}, {m_dir / "s*\\*", ERROR_INVALID_NAME},
        {m_dir.path() + "\\", ERROR_FILE_NOT_FOUND},  {"", ERROR_PATH_NOT_FOUND},
    };
    WIN32_FIND_DATAA data;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pattern);
        EXPECT_WIN32(FindFirstFileA(c.pattern.c_str(), &data), INVALID_HANDLE_VALUE, c.error);
    }
    EXPECT_WIN32(FindClose(INVALID_HANDLE_VALUE), FALSE, ERROR_INVALID_HANDLE);
    HANDLE search = FindFirstFileA((m_dir / "*").c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(FindClose(search));
#if !defined(_WIN32) // Wine accepts a search handle closed before
    EXPECT_WIN32(FindClose(search), FALSE, ERROR_INVALID_HANDLE);
#endif
}

// Windows translates '?' into a wildcard that also matches nothing before a
// dot or at the end of the name, and "*." into one that stops at the last
// dot. Wine matches '?' against exactly one character.
TEST_F(Find, DosWildcardRules) {
#if defined(_WIN32)
    GTEST_SKIP() << "Wine's matcher takes '?' as exactly one character, unlike Windows";
#else
    ASSERT_TRUE(Write(m_dir / "f.txt", ""));
    EXPECT_EQ(Match("f?.txt"), (Set{"f.txt"}));
    EXPECT_EQ(Match("noext?"), (Set{"noext"}));
    EXPECT_EQ(Match("noext??"), (Set{"noext"}));
    EXPECT_EQ(Match("f.tx??"), (Set{"f.txt"}));
    EXPECT_EQ(Match("f?txt"), Set{});
    EXPECT_EQ(Match("*.?"), (Set{"noext", "sub"}));
    EXPECT_EQ(Match("*.t*"), (Set{"alpha.txt", "Beta.TXT", "abc.txt", "f.txt"}));
#endif
}

} // namespace
