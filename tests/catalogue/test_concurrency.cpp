// The catalogue used by several threads and by several processes at once.
#include "catalogue_support.h"

#include "MessageIndex.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using cattest::CatalogueTest;
using cattest::Str;

const int kOrigins = 20;
const int kCodes = 100;

// A message file big enough that rebuilding its index takes a while.
std::string ManyMessages() {
    std::string text;
    for (int o = 0; o < kOrigins; ++o) {
        text += "[CatalogueTestMany" + std::to_string(o) + "]\r\n";
        for (int c = 0; c < kCodes; ++c)
            text += std::to_string(c) + " \"Text " + std::to_string(o) + "." + std::to_string(c) +
                    " with [$1]\"\r\n";
    }
    return text;
}

// 0 when every message of ManyMessages() reads right, else the number of
// wrong ones.
int WrongMessages(int step) {
    int wrong = 0;
    for (int o = 0; o < kOrigins; ++o) {
        const unsigned short origin =
            SearchOriginCode(("CatalogueTestMany" + std::to_string(o)).c_str());
        for (int c = 0; c < kCodes; c += step) {
            const std::string expected =
                "Text " + std::to_string(o) + "." + std::to_string(c) + " with x";
            if (Str(GetMessage(origin, static_cast<unsigned short>(c), "x")) != expected)
                ++wrong;
        }
    }
    return wrong;
}

// Rebuilds the index of the file args[0] again and again, reading it back
// from disk after each rebuild.
TEST_CHILD(RebuildIndexRepeatedly) {
    SetCatalogueExecutablePath(nullptr);
    for (int round = 0; round < 25; ++round) {
        SetMessageFileNameAbs(args.at(0).c_str());
        if (!RebuildMessageIndex())
            return 10;
        SetMessageFileNameAbs(args.at(0).c_str());
        if (WrongMessages(17) != 0)
            return 11;
    }
    return 0;
}

TEST_F(CatalogueTest, TwoProcessesRebuildingOneIndexLeaveAGoodOne) {
    const std::string path = UseMessageFile("shared.msl", ManyMessages());
    testsupport::ChildProcess first("RebuildIndexRepeatedly", {path});
    testsupport::ChildProcess second("RebuildIndexRepeatedly", {path});
    ASSERT_TRUE(first.Started());
    ASSERT_TRUE(second.Started());
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);

    const std::string index = cattest::ReadBytes(cattest::IndexOf(path));
    msgindex::Index parsed;
    ASSERT_TRUE(msgindex::Parse(reinterpret_cast<const unsigned char*>(index.data()), index.size(),
                                parsed));
    EXPECT_EQ(parsed.records.size(), static_cast<std::size_t>(kOrigins * kCodes));
    SetMessageFileNameAbs(path.c_str());
    EXPECT_EQ(WrongMessages(1), 0);
    // Nothing is left of the writers' temporary files.
    WIN32_FIND_DATAA found;
    HANDLE search = FindFirstFileA(dir.file("*.tmp").c_str(), &found);
    EXPECT_EQ(search, INVALID_HANDLE_VALUE);
    if (search != INVALID_HANDLE_VALUE)
        FindClose(search);
}

TEST_F(CatalogueTest, ThreadsLookUpWhileTheFileIsSwitched) {
    const std::string many = UseMessageFile("many.msl", ManyMessages());
    const std::string other = dir.file("other.msl");
    cattest::WriteText(other, "[CatalogueTestMany0]\n1 \"Other [$1]\"\n");
    SetMessageFileCheckInterval(0);
    const unsigned short origin = SearchOriginCode("CatalogueTestMany0");
    std::atomic<bool> stop{false};
    std::atomic<int> unexpected{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t) {
        readers.emplace_back([&] {
            while (!stop.load()) {
                const std::string text = Str(GetMessage(origin, 1, "x"));
                if (text != "Text 0.1 with x" && text != "Other x")
                    unexpected.fetch_add(1);
            }
        });
    }
    for (int round = 0; round < 40; ++round)
        SetMessageFileNameAbs((round % 2 ? other : many).c_str());
    stop.store(true);
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(unexpected.load(), 0);
}

} // namespace
