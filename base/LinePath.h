// Line paths and angle arithmetic: TLinePath, an ordered list of points that
// keeps its bounding rectangle up to date, and TMath, static numeric functions
// for angles, rounding and polar coordinates.
#ifndef BASEKEL_LINEPATH_H
#define BASEKEL_LINEPATH_H

#include "Geometry.h"
#include "kelexport.h"

// Points in the order they were added, with the rectangle that bounds them
// (exclusive right and bottom edges). TPoint::InvalidPoint may be added as a
// break between parts of the path; it does not count for the bounding
// rectangle. A point equal to the last one is not added again.
//
// Copying shares: after a copy or an assignment both paths hold the same
// nodes, and a position from one walks the other. A shared path is meant to
// be read only; if either one is changed after all, it first takes a private
// copy of its points, so that the other stays intact and each path owns what
// it frees.
class BASEKEL_API TLinePath {
public:
    TLinePath();
    TLinePath(const TLinePath& other);
    TLinePath& operator=(const TLinePath& other);
    virtual ~TLinePath();

    void AddPoint(TPoint p);
    // Removes all points; the bounding rectangle becomes TRect::MinRect.
    void Clear();

    unsigned long GetCount() const;
    // The first (last) point's position; null when the path is empty.
    void* GetHeadPosition() const;
    void* GetTailPosition() const;
    // The point at pos; pos moves to the next (previous) point, null past the
    // end. A null pos gives TPoint() and stays null.
    TPoint& GetNext(void*& pos);
    const TPoint& GetNext(void*& pos) const;
    TPoint& GetPrev(void*& pos);
    const TPoint& GetPrev(void*& pos) const;

    TRect& BoundingRect() { return m_BoundingRect; }
    const TRect& BoundingRect() const { return m_BoundingRect; }

private:
    struct TSharedPoints;

    void Share(TSharedPoints* points);
    void Release();
    void MakeOwn();

    TSharedPoints* m_pPoints; // null while the path is empty and unshared
    TRect m_BoundingRect;
};

class BASEKEL_API TMath {
public:
    // 3.1415926536: ten decimals, not the full double value of pi. Every angle
    // function here uses this value, and callers' results depend on it.
    static const double Pi;
    static const double GradPi; // degrees per radian, 180 / Pi
    static const double PiGrad; // radians per degree, Pi / 180

    static double Abs(double x);
    // 32-bit: Abs(-2147483648) stays -2147483648.
    static long Abs(long x);
    static double Sin(double x);
    static double Cos(double x);
    static double ArcTan(double x);
    static double Sqrt(double x);
    static double Sqr(double x) { return x * x; }
    // x minus its integral part toward zero: the sign of x.
    static double Frac(double x);

    // Nearest long in the current rounding mode (ties to even by default),
    // saturated at 0x7FFFFFFF and 0x80000000.
    static long Round(double x);
    // Toward zero, saturated likewise.
    static long Trunc(double x);

    // a brought into [0, 2 Pi) by whole turns.
    static double In2Pi(double a);
    // 1 when v lies between a and b inclusive, in either order of a and b.
    static unsigned int Between(double v, double a, double b);

    static double DegreesToRad(double degrees);
    static double RadToDegrees(double radians);
    static void Polar2Cart(double r, double phi, double& x, double& y);
    // r = sqrt(x*x + y*y), phi in [0, 2 Pi).
    static void Cart2Polar(double x, double y, double& r, double& phi);

    // Greatest common divisor (Euclid); with one argument 0 the other is the
    // answer, so ggT(0, 0) is 0.
    static unsigned long ggT(unsigned long a, unsigned long b);
};

#endif
