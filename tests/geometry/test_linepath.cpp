// Line paths: the bounding rectangle follows the points, invalid points are
// breaks, and copies share their nodes.
#include "LinePath.h"
#include "GeometryPrint.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

std::vector<TPoint> Points(const TLinePath& path, bool backward = false) {
    std::vector<TPoint> points;
    for (void* pos = backward ? path.GetTailPosition() : path.GetHeadPosition(); pos;)
        points.push_back(backward ? path.GetPrev(pos) : path.GetNext(pos));
    return points;
}

TEST(LinePath, BoundingRectFollowsThePointsAndOnlyConsecutiveRepeatsAreDropped) {
    TLinePath path;
    path.AddPoint(TPoint(5, 5));
    path.AddPoint(TPoint(5, 5));
    EXPECT_EQ(1UL, path.GetCount());
    EXPECT_EQ(TRect(5, 5, 6, 6), path.BoundingRect());

    TLinePath second;
    for (const TPoint& p : {TPoint(0, 0), TPoint(10, -3), TPoint(10, -3), TPoint(0, 0)})
        second.AddPoint(p);
    EXPECT_EQ(TRect(0, -3, 11, 1), second.BoundingRect());
    EXPECT_EQ((std::vector<TPoint>{{0, 0}, {10, -3}, {0, 0}}), Points(second));
    second.AddPoint(TPoint(4, 4)); // inside on x, grows y
    EXPECT_EQ(TRect(0, -3, 11, 5), second.BoundingRect());

    // The bounding rectangle is handed out by reference; what the caller
    // stores there stays while the points are inside it.
    TLinePath preset;
    preset.BoundingRect() = TRect(0, 0, 100, 100);
    preset.AddPoint(TPoint(5, 5));
    EXPECT_EQ(TRect(0, 0, 100, 100), preset.BoundingRect());
}

TEST(LinePath, InvalidPointsAreBreaks) {
    TLinePath path;
    path.AddPoint(TPoint(1, 1));
    path.AddPoint(TPoint::InvalidPoint);
    EXPECT_EQ(2UL, path.GetCount());
    EXPECT_EQ(TRect(1, 1, 2, 2), path.BoundingRect());
    path.AddPoint(TPoint::InvalidPoint); // a repeat like any other
    EXPECT_EQ(2UL, path.GetCount());
    path.AddPoint(TPoint(3, 0));
    EXPECT_EQ(TRect(1, 0, 4, 2), path.BoundingRect());
    const std::vector<TPoint> expected{{1, 1}, TPoint::InvalidPoint, {3, 0}};
    EXPECT_EQ(expected, Points(path));

    TLinePath startsWithBreak;
    startsWithBreak.AddPoint(TPoint::InvalidPoint);
    EXPECT_EQ(TRect::MinRect, startsWithBreak.BoundingRect());
    startsWithBreak.AddPoint(TPoint(-2, 7));
    EXPECT_EQ(TRect(-2, 7, -1, 8), startsWithBreak.BoundingRect());
}

// The nodes come in blocks of ten; walk well past a few blocks both ways,
// then clear and start again.
TEST(LinePath, IteratesBothWaysAcrossBlocksAndClears) {
    TLinePath path;
    EXPECT_EQ(nullptr, path.GetTailPosition());
    EXPECT_EQ(TRect::MinRect, path.BoundingRect());
    std::vector<TPoint> added;
    for (int i = 0; i < 35; ++i) {
        added.emplace_back(i, i % 7);
        path.AddPoint(added.back());
    }
    EXPECT_EQ(35UL, path.GetCount());
    EXPECT_EQ(added, Points(path));
    EXPECT_EQ(std::vector<TPoint>(added.rbegin(), added.rend()), Points(path, true));
    EXPECT_EQ(TRect(0, 0, 35, 7), path.BoundingRect());
    void* last = path.GetTailPosition();
    EXPECT_EQ(TPoint(34, 6), path.GetNext(last));
    EXPECT_EQ(nullptr, last);

    path.Clear();
    EXPECT_EQ(0UL, path.GetCount());
    EXPECT_EQ(nullptr, path.GetHeadPosition());
    EXPECT_EQ(TRect::MinRect, path.BoundingRect());
    path.AddPoint(TPoint(3, 3));
    EXPECT_EQ(TRect(3, 3, 4, 4), path.BoundingRect());
    EXPECT_EQ(1UL, path.GetCount());
}

TEST(LinePath, NullPositionIsAnsweredSafely) {
    TLinePath path;
    path.AddPoint(TPoint(1, 2));
    void* pos = nullptr;
    EXPECT_EQ(TPoint(), path.GetNext(pos));
    EXPECT_EQ(nullptr, pos);
    path.GetPrev(pos).X(99); // writes to scratch, not to the path
    EXPECT_EQ(TPoint(), path.GetPrev(pos));
    EXPECT_EQ(std::vector<TPoint>{TPoint(1, 2)}, Points(path));
}

// After a copy or an assignment both paths hold the same nodes.
TEST(LinePath, CopiesShareTheNodes) {
    TLinePath source;
    for (int i = 0; i < 15; ++i)
        source.AddPoint(TPoint(i, 2 * i));
    TLinePath& same = source;
    source = same; // keeps the points
    EXPECT_EQ(15UL, source.GetCount());
    TLinePath copy;
    copy.AddPoint(TPoint(-1, -1));
    copy = source;
    const TLinePath constructed(source);
    for (const TLinePath* other : {static_cast<const TLinePath*>(&copy), &constructed}) {
        EXPECT_EQ(source.GetCount(), other->GetCount());
        EXPECT_EQ(source.BoundingRect(), other->BoundingRect());
        EXPECT_EQ(source.GetHeadPosition(), other->GetHeadPosition());
        EXPECT_EQ(source.GetTailPosition(), other->GetTailPosition());
        EXPECT_EQ(Points(source), Points(*other));
    }
    // A position from one path walks the other.
    void* pos = source.GetHeadPosition();
    source.GetNext(pos);
    EXPECT_EQ(TPoint(1, 2), copy.GetNext(pos));
    // A point changed through one is changed in both.
    void* head = copy.GetHeadPosition();
    copy.GetNext(head).Set(42, 43);
    EXPECT_EQ(TPoint(42, 43), Points(source).front());
}

// Callers must not change or destroy a shared path on its own; if they do,
// each path still frees only what is its own and the other stays intact.
TEST(LinePath, ChangingASharedPathLeavesTheOtherIntact) {
    TLinePath source;
    source.AddPoint(TPoint(1, 1));
    source.AddPoint(TPoint(2, 2));
    const std::vector<TPoint> before = Points(source);
    {
        TLinePath copy;
        copy = source;
        copy.AddPoint(TPoint(3, 3));
        EXPECT_EQ(3UL, copy.GetCount());
        EXPECT_EQ(before, Points(source));
        EXPECT_EQ(TRect(1, 1, 3, 3), source.BoundingRect());
        copy.Clear();
        EXPECT_EQ(before, Points(source));
    }
    auto* copy = new TLinePath(source);
    source.Clear();
    EXPECT_EQ(before, Points(*copy));
    delete copy;

    auto* first = new TLinePath;
    first->AddPoint(TPoint(7, 7));
    TLinePath second(*first);
    delete first; // the source goes first
    EXPECT_EQ(std::vector<TPoint>{TPoint(7, 7)}, Points(second));
}

// Paths sharing nodes may be changed and dropped on different threads.
TEST(LinePath, SharedPathsOnSeveralThreads) {
    TLinePath source;
    for (int i = 0; i < 50; ++i)
        source.AddPoint(TPoint(i, i));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&source, t] {
            for (int round = 0; round < 200; ++round) {
                TLinePath copy(source);
                copy.AddPoint(TPoint(1000 + t, round));
                TLinePath another;
                another = copy;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(50UL, source.GetCount());
}

} // namespace
