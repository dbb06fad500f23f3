// Line paths and angle arithmetic.
#include "LinePath.h"

#include <atomic>
#include <cmath>
#include <limits>

#include "Arith32.h"
#include "Lists.h"

// ---------------------------------------------------------------- TLinePath

// The nodes of one or more paths that share them (see TLinePath: copying).
// The count is atomic so that paths sharing nodes may be copied and
// destroyed on different threads.
struct TLinePath::TSharedPoints {
    TSharedPoints() = default;
    explicit TSharedPoints(const TObjList<TPoint>& from) : points(from) {}

    std::atomic<long> users{1};
    TObjList<TPoint> points;
};

TLinePath::TLinePath() : m_pPoints(nullptr), m_BoundingRect(TRect::MinRect) {}

TLinePath::TLinePath(const TLinePath& other)
    : m_pPoints(nullptr), m_BoundingRect(other.m_BoundingRect) {
    Share(other.m_pPoints);
}

TLinePath& TLinePath::operator=(const TLinePath& other) {
    if (this != &other) {
        TSharedPoints* points = other.m_pPoints;
        if (points)
            points->users.fetch_add(1, std::memory_order_relaxed);
        Release();
        m_pPoints = points;
        m_BoundingRect = other.m_BoundingRect;
    }
    return *this;
}

TLinePath::~TLinePath() {
    Release();
}

void TLinePath::Share(TSharedPoints* points) {
    if (points)
        points->users.fetch_add(1, std::memory_order_relaxed);
    m_pPoints = points;
}

void TLinePath::Release() {
    TSharedPoints* points = m_pPoints;
    m_pPoints = nullptr;
    if (points && points->users.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete points;
}

// Before a change: a path that shares its nodes takes a copy of its own,
// an empty path gets an empty list.
void TLinePath::MakeOwn() {
    if (!m_pPoints) {
        m_pPoints = new TSharedPoints;
        return;
    }
    if (m_pPoints->users.load(std::memory_order_acquire) == 1)
        return;
    TSharedPoints* own = new TSharedPoints(m_pPoints->points);
    Release();
    m_pPoints = own;
}

void TLinePath::AddPoint(TPoint p) {
    if (m_pPoints && !m_pPoints->points.IsEmpty() && m_pPoints->points.GetTail() == p)
        return;
    MakeOwn();
    m_pPoints->points.AddTail(p);
    // Growing the rectangle ignores InvalidPoint, the break in a path.
    m_BoundingRect.MakeUnion(p);
}

void TLinePath::Clear() {
    Release();
    m_BoundingRect = TRect::MinRect;
}

unsigned long TLinePath::GetCount() const {
    return m_pPoints ? m_pPoints->points.GetCount() : 0;
}

void* TLinePath::GetHeadPosition() const {
    return m_pPoints ? m_pPoints->points.GetHeadPosition() : nullptr;
}

void* TLinePath::GetTailPosition() const {
    return m_pPoints ? m_pPoints->points.GetTailPosition() : nullptr;
}

namespace {

// Where a read through a null position lands: a fresh default point of the
// calling thread's own.
TPoint& NoPoint() {
    static thread_local TPoint none;
    none = TPoint();
    return none;
}

} // namespace

// A position always belongs to a node list, so a non-null one means the
// path holds points.
TPoint& TLinePath::GetNext(void*& pos) {
    return pos && m_pPoints ? m_pPoints->points.GetNext(pos) : NoPoint();
}

const TPoint& TLinePath::GetNext(void*& pos) const {
    return const_cast<TLinePath*>(this)->GetNext(pos);
}

TPoint& TLinePath::GetPrev(void*& pos) {
    return pos && m_pPoints ? m_pPoints->points.GetPrev(pos) : NoPoint();
}

const TPoint& TLinePath::GetPrev(void*& pos) const {
    return const_cast<TLinePath*>(this)->GetPrev(pos);
}

// --------------------------------------------------------------------- TMath

namespace {

constexpr double kPi = 3.1415926536;
constexpr double kTurn = 2 * kPi;

// In2Pi steps one turn at a time; angles further out than this many turns
// are first reduced by division, so that no angle keeps it stepping for long.
constexpr double kMostTurnsStepped = 1 << 20;

} // namespace

const double TMath::Pi = kPi;
const double TMath::GradPi = 180.0 / kPi;
const double TMath::PiGrad = kPi / 180.0;

double TMath::Abs(double x) {
    return std::fabs(x);
}

long TMath::Abs(long x) {
    const std::int32_t v = arith32::Cut(x);
    return v < 0 ? arith32::Neg(v) : v;
}

double TMath::Sin(double x) {
    return std::sin(x);
}

double TMath::Cos(double x) {
    return std::cos(x);
}

double TMath::ArcTan(double x) {
    return std::atan(x);
}

double TMath::Sqrt(double x) {
    return std::sqrt(x);
}

double TMath::Frac(double x) {
    return x - std::trunc(x);
}

long TMath::Round(double x) {
    const double r = std::nearbyint(x);
    if (x >= 0)
        return r > 2147483647.0 ? INT32_MAX : static_cast<std::int32_t>(r);
    if (x < 0)
        return r < -2147483648.0 ? INT32_MIN : static_cast<std::int32_t>(r);
    return arith32::kIndefinite; // not a number
}

long TMath::Trunc(double x) {
    if (x >= 0) {
        const double r = std::floor(x);
        return r > 2147483647.0 ? INT32_MAX : static_cast<std::int32_t>(r);
    }
    if (x < 0) {
        const double r = std::ceil(x);
        return r < -2147483648.0 ? INT32_MIN : static_cast<std::int32_t>(r);
    }
    return arith32::kIndefinite; // not a number
}

double TMath::In2Pi(double a) {
    if (std::isinf(a))
        return std::numeric_limits<double>::quiet_NaN(); // no number of turns brings it in
    if (std::fabs(a) > kMostTurnsStepped * kTurn)
        a = std::fmod(a, kTurn);
    while (a < 0)
        a += kTurn;
    while (a >= kTurn)
        a -= kTurn;
    return a;
}

unsigned int TMath::Between(double v, double a, double b) {
    return (a <= v && v <= b) || (b <= v && v <= a);
}

double TMath::DegreesToRad(double degrees) {
    return kPi * degrees * (1.0 / 180.0);
}

double TMath::RadToDegrees(double radians) {
    return radians * 180.0 / kPi;
}

void TMath::Polar2Cart(double r, double phi, double& x, double& y) {
    x = std::cos(phi) * r;
    y = std::sin(phi) * r;
}

void TMath::Cart2Polar(double x, double y, double& r, double& phi) {
    r = std::sqrt(x * x + y * y);
    if (x == 0) {
        if (y > 0)
            phi = kPi * 0.5;
        else if (y < 0)
            phi = kPi * 1.5;
        else
            phi = 0;
        return;
    }
    if (y == 0) {
        phi = x < 0 ? kPi : 0.0;
        return;
    }
    const double t = std::atan(y / x);
    if (x < 0)
        phi = t + kPi;
    else if (y < 0)
        phi = t + 2 * kPi;
    else
        phi = t; // x > 0 and y > 0, or not a number
}

unsigned long TMath::ggT(unsigned long a, unsigned long b) {
    std::uint32_t x = static_cast<std::uint32_t>(a);
    std::uint32_t y = static_cast<std::uint32_t>(b);
    while (y != 0) {
        const std::uint32_t rest = x % y;
        x = y;
        y = rest;
    }
    return x;
}
