// How an image or page is placed on a device: an integer scale factor
// (TFraction), one of the eight rotations and mirrorings of a rectangle by
// multiples of 90 degrees (TOrientation), and a resolution change with scales,
// margins and an orientation applied together to a content size (TTransform).
//
// All three are plain values of 32-bit fields; their arithmetic wraps at 32 bits
// and their quotients truncate toward zero, as on 32-bit Windows.
#ifndef BASEKEL_TRANSFORM_H
#define BASEKEL_TRANSFORM_H

#include <cstdint>

#include "Geometry.h"
#include "kelexport.h"

class BASEKEL_API TFraction {
public:
    static const TFraction Original; // 1/1

    constexpr TFraction() : m_Numerator(1), m_Denominator(1) {}
    constexpr TFraction(long numerator, long denominator)
        : m_Numerator(static_cast<std::int32_t>(numerator)),
          m_Denominator(static_cast<std::int32_t>(denominator)) {}

    void Set(long numerator, long denominator) { *this = TFraction(numerator, denominator); }
    long Numerator() const { return m_Numerator; }
    long Denominator() const { return m_Denominator; }
    long Numerator(long v) { return m_Numerator = static_cast<std::int32_t>(v); }
    long Denominator(long v) { return m_Denominator = static_cast<std::int32_t>(v); }

    // numerator * v / denominator: a 64-bit product and a quotient truncated
    // toward zero, cut to 32 bits. A zero denominator gives 0.
    long Transform(long v) const;

    // Equal when both scale 10000 to the same value: 1/3 equals 3333/10000
    // but not 33/100. A comparison of effect, not of fields.
    unsigned int operator==(const TFraction& f) const;
    unsigned int operator!=(const TFraction& f) const { return !(*this == f); }

private:
    std::int32_t m_Numerator;
    std::int32_t m_Denominator;
};

class BASEKEL_API TOrientation {
public:
    // Rotation in steps of 90 degrees: Rotate90 takes the point (x, y) of a
    // page width units wide to (y, width - x), turning the top edge into the left.
    enum TRotate : int {
        Rotate0 = 0,
        Rotate90 = 1,
        Rotate180 = 2,
        Rotate270 = 3,
        RotateInvalid = 5 // RotationToEnum's answer for an angle that is no rotation
    };
    // Mirroring: in x means x becomes width - x.
    enum TMirror : int { MirrorNone = 0, MirrorX = 1, MirrorY = 2, MirrorXY = 3 };
    // The eight distinct orientations: the four rotations, then the same four
    // combined with a mirror in y. (All three enumerations are int-sized and
    // take any int, so that a stray value is merely wrong, never undefined.)
    enum TOrient : int {
        Orient0 = 0,
        Orient90 = 1,
        Orient180 = 2,
        Orient270 = 3,
        Orient0MirrorY = 4,
        Orient90MirrorY = 5,
        Orient180MirrorY = 6,
        Orient270MirrorY = 7
    };

    static const TOrientation Original; // (Rotate0, MirrorNone)

    constexpr TOrientation() : m_Rotate(Rotate0), m_Mirror(MirrorNone) {}
    TOrientation(TOrient orient) { Convert(orient, m_Rotate, m_Mirror); }
    constexpr TOrientation(TRotate rotate, TMirror mirror) : m_Rotate(rotate), m_Mirror(mirror) {}
    TOrientation& operator=(const TOrient& orient) {
        Convert(orient, m_Rotate, m_Mirror);
        return *this;
    }

    TRotate Rotate() const { return m_Rotate; }
    TMirror Mirror() const { return m_Mirror; }
    TRotate Rotate(TRotate rotate) { return m_Rotate = rotate; }
    TMirror Mirror(TMirror mirror) { return m_Mirror = mirror; }

    // The combined value of the stored pair; several pairs give the same value.
    TOrient Orient() const;
    // Stores rotate = v AND 3 and mirror = (v / 4) * 2.
    void Orient(TOrient orient) { Convert(orient, m_Rotate, m_Mirror); }

    // Compare the combined values, not the stored pairs.
    unsigned int operator==(const TOrientation& o) const { return Orient() == o.Orient(); }
    unsigned int operator!=(const TOrientation& o) const { return Orient() != o.Orient(); }
    unsigned int operator==(TOrient o) const { return Orient() == o; }
    unsigned int operator!=(TOrient o) const { return Orient() != o; }

    // 1 for 90 and 270 degrees, whatever the mirror.
    unsigned int IsTilt() const { return static_cast<unsigned int>(m_Rotate) & 1u; }

    // This orientation followed by other.
    void Add(TOrientation other);
    // An untilted base orientation and the rotation that, added to the base,
    // gives this orientation back.
    void Split(TOrientation& base, TRotate& rotation) const;
    // Maps r, lying in a page of width x height, to the page after this
    // orientation, and replaces width and height by the new page's size.
    void Transform(long& width, long& height, TRect& r) const;

    // 0, 90, 180, 270 (sign ignored) to Rotate0 ... Rotate270; else RotateInvalid.
    static TRotate RotationToEnum(long degrees);
    // Rotate0 ... Rotate270 to 0 ... 270; anything else to -1.
    static long EnumToRotation(TRotate rotate);

protected:
    // [rotate][mirror] -> orientation
    static const TOrient s_GetOrientation[4][4];
    // [this][other] -> this followed by other
    static const TOrient s_AddOrientation[8][8];

    static void Convert(TOrient orient, TRotate& rotate, TMirror& mirror);

private:
    TRotate m_Rotate;
    TMirror m_Mirror;
};

class BASEKEL_API TTransform {
public:
    static const TTransform Original; // no resolution change, no margins, 1/1, Orient0

    constexpr TTransform()
        : m_XDpi(0), m_YDpi(0), m_X0Offset(0), m_Y0Offset(0), m_X1Offset(0), m_Y1Offset(0) {}
    TTransform(long xDpi, long yDpi, long x0Offset, long y0Offset, long x1Offset, long y1Offset,
               TFraction xFraction, TFraction yFraction, TOrientation orientation);

    void Set(long xDpi, long yDpi, long x0Offset, long y0Offset, long x1Offset, long y1Offset,
             TFraction xFraction, TFraction yFraction, TOrientation orientation);

    // Target resolution per axis; 0 means no resolution change.
    long XDpi() const { return m_XDpi; }
    long YDpi() const { return m_YDpi; }
    long XDpi(long v) { return m_XDpi = static_cast<std::int32_t>(v); }
    long YDpi(long v) { return m_YDpi = static_cast<std::int32_t>(v); }
    // Leading (left, top) margins.
    long X0Offset() const { return m_X0Offset; }
    long Y0Offset() const { return m_Y0Offset; }
    long X0Offset(long v) { return m_X0Offset = static_cast<std::int32_t>(v); }
    long Y0Offset(long v) { return m_Y0Offset = static_cast<std::int32_t>(v); }
    // Trailing (right, bottom) margins.
    long X1Offset() const { return m_X1Offset; }
    long Y1Offset() const { return m_Y1Offset; }
    long X1Offset(long v) { return m_X1Offset = static_cast<std::int32_t>(v); }
    long Y1Offset(long v) { return m_Y1Offset = static_cast<std::int32_t>(v); }
    // Scale per axis.
    long XNumerator() const { return m_XFraction.Numerator(); }
    long XDenominator() const { return m_XFraction.Denominator(); }
    long YNumerator() const { return m_YFraction.Numerator(); }
    long YDenominator() const { return m_YFraction.Denominator(); }
    long XNumerator(long v) { return m_XFraction.Numerator(v); }
    long XDenominator(long v) { return m_XFraction.Denominator(v); }
    long YNumerator(long v) { return m_YFraction.Numerator(v); }
    long YDenominator(long v) { return m_YFraction.Denominator(v); }
    TFraction XFraction() const { return m_XFraction; }
    TFraction YFraction() const { return m_YFraction; }
    TFraction XFraction(const TFraction& f) { return m_XFraction = f; }
    TFraction YFraction(const TFraction& f) { return m_YFraction = f; }
    // Applied last.
    TOrientation Orientation() const { return m_Orientation; }
    TOrientation Orientation(const TOrientation& o) { return m_Orientation = o; }

    // Places a content of x * y units, given at xDpi * yDpi, on the page:
    // width and height receive the page's size, r the content's place on it.
    void Transform(long x, long y, long xDpi, long yDpi, long& width, long& height, TRect& r) const;

    // Equal when both place a 10000 x 5000 content at 100 x 200 dpi alike: a
    // comparison of effect, not of fields.
    unsigned int operator==(const TTransform& t) const;
    unsigned int operator!=(const TTransform& t) const { return !(*this == t); }

private:
    std::int32_t m_XDpi;
    std::int32_t m_YDpi;
    std::int32_t m_X0Offset;
    std::int32_t m_Y0Offset;
    std::int32_t m_X1Offset;
    std::int32_t m_Y1Offset;
    TFraction m_XFraction;
    TFraction m_YFraction;
    TOrientation m_Orientation;
};

#endif
