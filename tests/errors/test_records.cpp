// Error records (KCInfoRaw, KCInfo, TErrorData, TMessageBase), the origin
// registry and the texts of the message catalogue.
#include "errortest.h"

using errortest::Str;

namespace {

TEST(KCInfoRaw, DefaultAndClearedRecordsHaveNoOrigin) {
    KCInfoRaw fresh;
    KCInfoRaw cleared(7, 9);
    cleared.Clear();
    for (const KCInfoRaw* record : {&fresh, &cleared}) {
        EXPECT_EQ(record->GetOriginCode(), 0xFFFF);
        EXPECT_EQ(record->GetMessageCode(), 0);
    }
    EXPECT_EQ(fresh == cleared, 1u);
    EXPECT_EQ(fresh != cleared, 0u);
}

TEST(KCInfoRaw, ComparesBothHalvesOfTheCodeWord) {
    KCInfoRaw a(1, 2);
    EXPECT_EQ(a == KCInfoRaw(1, 2), 1u);
    EXPECT_EQ(a == KCInfoRaw(2, 1), 0u);
    EXPECT_EQ(a == KCInfoRaw(1, 3), 0u);
    EXPECT_EQ(a != KCInfoRaw(0, 2), 1u);
    KCInfoRaw b;
    b = a;
    EXPECT_EQ(b.GetOriginCode(), 1);
    EXPECT_EQ(b.GetMessageCode(), 2);
    b.Set(0xFFFE, 0xFFFF);
    unsigned short origin = 0, code = 0;
    b.GetOriginAndMessageCode(&origin, &code);
    EXPECT_EQ(origin, 0xFFFE);
    EXPECT_EQ(code, 0xFFFF);
    b.GetOriginAndMessageCode(nullptr, &code); // either output may be left out
    b.GetOriginAndMessageCode(&origin, nullptr);
}

TEST(KCInfoRaw, TextComesFromTheCatalogueWithEmptyArguments) {
    EXPECT_EQ(Str(KCInfoRaw(0x2A, 0x1F).GetString()), "no message for 0x2A:0x1F (\"\",\"\",\"\")");
    EXPECT_EQ(Str(KCInfoRaw(3, 12).GetString()), "");
}

TEST(KCInfo, EqualityNeedsCodesAndAllThreeTextsWithTheirCase) {
    KCInfo a(3, 12, "Disk", "full", "x");
    EXPECT_EQ(a == KCInfo(3, 12, "Disk", "full", "x"), 1u);
    EXPECT_EQ(a == KCInfo(3, 12, "disk", "full", "x"), 0u);
    EXPECT_EQ(a == KCInfo(3, 12, "Disk", "FULL", "x"), 0u);
    EXPECT_EQ(a == KCInfo(3, 12, "Disk", "full", "X"), 0u);
    EXPECT_EQ(a == KCInfo(3, 13, "Disk", "full", "x"), 0u);
    EXPECT_EQ(a != KCInfo(3, 12, "disk", "full", "x"), 1u);
    EXPECT_EQ(a == a, 1u);
    EXPECT_EQ(KCInfo() == KCInfo(0xFFFF, 0, "", "", ""), 1u);
}

TEST(KCInfo, CopiesAndAssignmentsTakeCodesAndTexts) {
    KCInfo original(5, 6, "one", "two", "three");
    KCInfo copy(original);
    EXPECT_EQ(copy == original, 1u);
    KCInfo assigned;
    assigned = original;
    EXPECT_EQ(assigned == original, 1u);
    EXPECT_EQ(Str(assigned.GetParam1()), "one");
    EXPECT_EQ(Str(assigned.GetParam2()), "two");
    EXPECT_EQ(Str(assigned.GetParam3()), "three");

    original.Set(7, 8, "a", "b", "c");
    EXPECT_EQ(copy.GetOriginCode(), 5); // copies are independent
    EXPECT_EQ(Str(copy.GetParam1()), "one");

    KCInfo& self = original;
    original = self;
    EXPECT_EQ(original == KCInfo(7, 8, "a", "b", "c"), 1u);
    // Set with the record's own texts passed back in.
    original.Set(9, 9, original.GetParam3(), original.GetParam2(), original.GetParam1());
    EXPECT_EQ(original == KCInfo(9, 9, "c", "b", "a"), 1u);
}

TEST(KCInfo, TextFillsInTheArguments) {
    EXPECT_EQ(Str(KCInfo(3, 12, "passed %s through", "b", "c").GetString()), "passed %s through");
    EXPECT_EQ(Str(KCInfo(0x10, 0xABCD, "p1", "p2", "p3").GetString()),
              "no message for 0x10:0xABCD (\"p1\",\"p2\",\"p3\")");
}

// Two records assigned to each other from two threads at once: each
// assignment holds both locks, and neither thread may wait for ever.
TEST(KCInfo, OppositeAssignmentsOnTwoThreadsFinish) {
    KCInfo a(1, 1, "a", "a", "a");
    KCInfo b(2, 2, "b", "b", "b");
    std::atomic<bool> go{false};
    auto assignMany = [&](KCInfo& to, KCInfo& from) {
        while (!go.load()) {
        }
        for (int i = 0; i < 2000; ++i)
            to = from;
    };
    std::thread first(assignMany, std::ref(a), std::ref(b));
    std::thread second(assignMany, std::ref(b), std::ref(a));
    go = true;
    first.join();
    second.join();
    EXPECT_EQ(a == b, 1u);
}

// A reader on one thread and a writer on another: every pair read is one the
// writer stored (code = ~origin), never the origin of one and the code of
// another. Run under ThreadSanitizer as well.
template <typename Record, typename Write> void ExpectWholePairs(Record& record, Write write) {
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (unsigned int i = 0; i < 100000; ++i)
            write(record, static_cast<unsigned short>(i));
        done = true;
    });
    long mixed = 0;
    long reads = 0;
    while (!done.load() || reads == 0) {
        unsigned short origin = 0, code = 0;
        record.GetOriginAndMessageCode(&origin, &code);
        if (code != static_cast<unsigned short>(~origin))
            ++mixed;
        ++reads;
    }
    writer.join();
    EXPECT_EQ(mixed, 0) << "of " << reads << " reads";
}

TEST(KCInfoRaw, ConcurrentSetNeverShowsAMixedPair) {
    KCInfoRaw record(0, 0xFFFF);
    ExpectWholePairs(record, [](KCInfoRaw& r, unsigned short origin) {
        r.Set(origin, static_cast<unsigned short>(~origin));
    });
}

TEST(KCInfo, ConcurrentSetNeverShowsAMixedPair) {
    KCInfo record(0, 0xFFFF, "", "", "");
    ExpectWholePairs(record, [](KCInfo& r, unsigned short origin) {
        r.Set(origin, static_cast<unsigned short>(~origin), "x", "", "");
    });
    EXPECT_EQ(Str(record.GetParam1()), "x");
}

// The arguments may be read while another thread replaces them.
TEST(KCInfo, ParametersReadWhileSetAreWholeTexts) {
    KCInfo record(1, 1, "first text", "", "");
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 20000; ++i)
            record.Set(1, 1, i % 2 ? "first text" : "second, longer text", "", "");
        done = true;
    });
    long bad = 0;
    while (!done.load()) {
        const std::string text = Str(record.GetParam1());
        if (text != "first text" && text != "second, longer text")
            ++bad;
        KCInfo copy(record);
        const std::string copied = Str(copy.GetParam1());
        if (copied != "first text" && copied != "second, longer text")
            ++bad;
    }
    writer.join();
    EXPECT_EQ(bad, 0);
}

// ---------------------------------------------------------------------------

TEST(TErrorData, CloneOfTheBaseIsANewObject) {
    TErrorData base;
    TErrorData* copy = base.Clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, &base);
    delete copy;
}

// A module's origin, declared as modules do: a static object registered while
// the program starts.
const TMessageBase g_testModuleOrigin("RecordTestModule", "TEST", __FILE__, __LINE__);

TEST(TMessageBase, RegistersItsNameAndStandsForTheCode) {
    EXPECT_GE(static_cast<unsigned short>(g_testModuleOrigin), 5);
    EXPECT_EQ(SearchOriginCode("RecordTestModule"), g_testModuleOrigin);
    EXPECT_EQ(Str(GetOriginString(g_testModuleOrigin)), "RecordTestModule");

    const TMessageBase again("RecordTestModule", "OTHER", "other.cpp", 1);
    EXPECT_EQ(static_cast<unsigned short>(again), static_cast<unsigned short>(g_testModuleOrigin));
    EXPECT_EQ(static_cast<unsigned short>(TMessageBase("FileError", "TEST", __FILE__, __LINE__)),
              3);
    EXPECT_EQ(static_cast<unsigned short>(TMessageBase(nullptr, "TEST", __FILE__, __LINE__)),
              0xFFFF);

    TMessageBase none;
    EXPECT_EQ(static_cast<unsigned short>(none), 0xFFFF);
    none = again;
    EXPECT_EQ(static_cast<unsigned short>(none), static_cast<unsigned short>(g_testModuleOrigin));
    EXPECT_EQ(KCInfoRaw(g_testModuleOrigin, 1).GetOriginCode(), g_testModuleOrigin);
}

} // namespace
