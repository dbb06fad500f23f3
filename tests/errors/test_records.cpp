// Error records: KCInfoRaw, KCInfo, TErrorData and TMessageBase.
#include "errortest.h"

using errortest::Str;

namespace {

TEST(KCInfoRaw, CodesComparisonsAndText) {
    KCInfoRaw fresh;
    KCInfoRaw cleared(7, 9);
    cleared.Clear();
    for (const KCInfoRaw* record : {&fresh, &cleared}) {
        EXPECT_EQ(record->GetOriginCode(), 0xFFFF);
        EXPECT_EQ(record->GetMessageCode(), 0);
    }
    EXPECT_EQ(fresh == cleared, 1u);
    EXPECT_EQ(fresh != cleared, 0u);

    // Both halves of the code word count.
    KCInfoRaw a(1, 2);
    EXPECT_EQ(a == KCInfoRaw(1, 2), 1u);
    EXPECT_EQ(a == KCInfoRaw(2, 1), 0u);
    EXPECT_EQ(a == KCInfoRaw(1, 3), 0u);
    EXPECT_EQ(a != KCInfoRaw(0, 2), 1u);
    KCInfoRaw b;
    b = a;
    EXPECT_EQ(b == a, 1u);
    b.Set(0xFFFE, 0xFFFF);
    unsigned short origin = 0, code = 0;
    b.GetOriginAndMessageCode(&origin, &code);
    EXPECT_EQ(origin, 0xFFFE);
    EXPECT_EQ(code, 0xFFFF);
    b.GetOriginAndMessageCode(nullptr, &code); // either output may be left out
    b.GetOriginAndMessageCode(&origin, nullptr);

    // Texts come from the catalogue, with the record's arguments if any.
    EXPECT_EQ(Str(KCInfoRaw(0x2A, 0x1F).GetString()), "no message for 0x2A:0x1F (\"\",\"\",\"\")");
    EXPECT_EQ(Str(KCInfoRaw(3, 12).GetString()), "");
    EXPECT_EQ(Str(KCInfo(3, 12, "passed %s through", "b", "c").GetString()), "passed %s through");
    EXPECT_EQ(Str(KCInfo(0x10, 0xABCD, "p1", "p2", "p3").GetString()),
              "no message for 0x10:0xABCD (\"p1\",\"p2\",\"p3\")");
}

TEST(KCInfo, EqualityNeedsCodesAndAllThreeTextsWithTheirCase) {
    const KCInfo a(3, 12, "Disk", "full", "x");
    const KCInfo different[] = {
        KCInfo(3, 12, "disk", "full", "x"), KCInfo(3, 12, "Disk", "FULL", "x"),
        KCInfo(3, 12, "Disk", "full", "X"), KCInfo(3, 13, "Disk", "full", "x"),
        KCInfo(4, 12, "Disk", "full", "x")};
    for (const KCInfo& other : different) {
        EXPECT_EQ(a == other, 0u) << Str(other.GetParam1()) << Str(other.GetParam2());
        EXPECT_EQ(a != other, 1u);
    }
    EXPECT_EQ(a == KCInfo(3, 12, "Disk", "full", "x"), 1u);
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
    EXPECT_EQ(Str(assigned.GetParam1()) + Str(assigned.GetParam2()) + Str(assigned.GetParam3()),
              "onetwothree");

    original.Set(7, 8, "a", "b", "c");
    EXPECT_EQ(copy == KCInfo(5, 6, "one", "two", "three"), 1u); // copies are independent

    KCInfo& self = original;
    original = self;
    EXPECT_EQ(original == KCInfo(7, 8, "a", "b", "c"), 1u);
    // Set with the record's own texts passed back in.
    original.Set(9, 9, original.GetParam3(), original.GetParam2(), original.GetParam1());
    EXPECT_EQ(original == KCInfo(9, 9, "c", "b", "a"), 1u);
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
// another; `check` looks at whatever else the reader may see. Run under
// ThreadSanitizer as well.
template <typename Record, typename Write, typename Check>
void ExpectWholeValues(Record& record, Write write, Check check) {
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
        mixed += code != static_cast<unsigned short>(~origin) || !check(record);
        ++reads;
    }
    writer.join();
    EXPECT_EQ(mixed, 0) << "of " << reads << " reads";
}

TEST(KCInfoRaw, ConcurrentSetNeverShowsAMixedPair) {
    KCInfoRaw record(0, 0xFFFF);
    ExpectWholeValues(
        record,
        [](KCInfoRaw& r, unsigned short origin) {
            r.Set(origin, static_cast<unsigned short>(~origin));
        },
        [](KCInfoRaw&) { return true; });
}

// The arguments, too, may be read and copied while another thread replaces them.
TEST(KCInfo, ConcurrentSetNeverShowsAMixedPairOrAPartText) {
    KCInfo record(0, 0xFFFF, "first text", "", "");
    ExpectWholeValues(
        record,
        [](KCInfo& r, unsigned short origin) {
            r.Set(origin, static_cast<unsigned short>(~origin),
                  origin % 2 ? "first text" : "second, longer text", "", "");
        },
        [](KCInfo& r) {
            const std::string text = Str(r.GetParam1());
            const std::string copied = Str(KCInfo(r).GetParam1());
            return (text == "first text" || text == "second, longer text") &&
                   (copied == "first text" || copied == "second, longer text");
        });
}

// ---------------------------------------------------------------------------

// A module's origin, declared as modules do: a static object registered while
// the program starts.
const TMessageBase g_testModuleOrigin("RecordTestModule", "TEST", __FILE__, __LINE__);

TEST(TMessageBase, RegistersItsNameAndStandsForTheCode) {
    const unsigned short code = g_testModuleOrigin;
    EXPECT_GE(code, 5);
    EXPECT_EQ(SearchOriginCode("RecordTestModule"), code);
    EXPECT_EQ(Str(GetOriginString(code)), "RecordTestModule");

    const TMessageBase again("RecordTestModule", "OTHER", "other.cpp", 1);
    EXPECT_EQ(static_cast<unsigned short>(again), code);
    EXPECT_EQ(static_cast<unsigned short>(TMessageBase("FileError", "TEST", __FILE__, __LINE__)),
              3);
    EXPECT_EQ(static_cast<unsigned short>(TMessageBase(nullptr, "TEST", __FILE__, __LINE__)),
              0xFFFF);
    TMessageBase none;
    EXPECT_EQ(static_cast<unsigned short>(none), 0xFFFF);
    none = again;
    EXPECT_EQ(static_cast<unsigned short>(none), code);
}

} // namespace
