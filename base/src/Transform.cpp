// Fractions, the eight orientations and device transforms.
#include "Transform.h"

#include <utility>

#include "Arith32.h"

using arith32::Add;
using arith32::Cut;
using arith32::Sub;

// ---------------------------------------------------------------- TFraction

const TFraction TFraction::Original(1, 1);

long TFraction::Transform(long v) const {
    if (m_Denominator == 0)
        return 0;
    // Two 32-bit factors cannot overflow 64 bits, nor can their quotient.
    const std::int64_t product = std::int64_t{m_Numerator} * Cut(v);
    return arith32::Cut64(product / m_Denominator);
}

unsigned int TFraction::operator==(const TFraction& f) const {
    const long probe = 10000;
    return Transform(probe) == f.Transform(probe);
}

// ------------------------------------------------------------- TOrientation

const TOrientation TOrientation::Original(TOrientation::Rotate0, TOrientation::MirrorNone);

const TOrientation::TOrient TOrientation::s_GetOrientation[4][4] = {
    {Orient0, Orient180MirrorY, Orient0MirrorY, Orient180},
    {Orient90, Orient270MirrorY, Orient90MirrorY, Orient270},
    {Orient180, Orient0MirrorY, Orient180MirrorY, Orient0},
    {Orient270, Orient90MirrorY, Orient270MirrorY, Orient90},
};

// Rows: the first orientation; columns: the one applied after it. The
// rotations compose by adding their angles; any two mirrored orientations
// compose to a pure rotation.
const TOrientation::TOrient TOrientation::s_AddOrientation[8][8] = {
    {Orient0, Orient90, Orient180, Orient270, Orient0MirrorY, Orient90MirrorY, Orient180MirrorY,
     Orient270MirrorY},
    {Orient90, Orient180, Orient270, Orient0, Orient270MirrorY, Orient0MirrorY, Orient90MirrorY,
     Orient180MirrorY},
    {Orient180, Orient270, Orient0, Orient90, Orient180MirrorY, Orient270MirrorY, Orient0MirrorY,
     Orient90MirrorY},
    {Orient270, Orient0, Orient90, Orient180, Orient90MirrorY, Orient180MirrorY, Orient270MirrorY,
     Orient0MirrorY},
    {Orient0MirrorY, Orient90MirrorY, Orient180MirrorY, Orient270MirrorY, Orient0, Orient90,
     Orient180, Orient270},
    {Orient90MirrorY, Orient180MirrorY, Orient270MirrorY, Orient0MirrorY, Orient270, Orient0,
     Orient90, Orient180},
    {Orient180MirrorY, Orient270MirrorY, Orient0MirrorY, Orient90MirrorY, Orient180, Orient270,
     Orient0, Orient90},
    {Orient270MirrorY, Orient0MirrorY, Orient90MirrorY, Orient180MirrorY, Orient90, Orient180,
     Orient270, Orient0},
};

// Values outside 0..7 are reduced to their low three bits, so that no table
// is ever indexed out of range.
void TOrientation::Convert(TOrient orient, TRotate& rotate, TMirror& mirror) {
    const unsigned int v = static_cast<unsigned int>(orient) & 7u;
    rotate = static_cast<TRotate>(v & 3u);
    mirror = static_cast<TMirror>((v / 4u) * 2u);
}

TOrientation::TOrient TOrientation::Orient() const {
    // The setters store any value; only the low two bits of each index the table.
    return s_GetOrientation[static_cast<unsigned int>(m_Rotate) & 3u]
                           [static_cast<unsigned int>(m_Mirror) & 3u];
}

void TOrientation::Add(TOrientation other) {
    Convert(s_AddOrientation[Orient()][other.Orient()], m_Rotate, m_Mirror);
}

void TOrientation::Split(TOrientation& base, TRotate& rotation) const {
    struct Parts {
        TRotate baseRotate;
        TMirror baseMirror;
        TRotate rotation;
    };
    static const Parts kSplit[8] = {
        {Rotate0, MirrorNone, Rotate0},   {Rotate0, MirrorNone, Rotate90},
        {Rotate180, MirrorNone, Rotate0}, {Rotate0, MirrorNone, Rotate270},
        {Rotate0, MirrorY, Rotate0},      {Rotate180, MirrorY, Rotate270},
        {Rotate180, MirrorY, Rotate0},    {Rotate180, MirrorY, Rotate90},
    };
    const Parts& parts = kSplit[Orient()];
    base = TOrientation(parts.baseRotate, parts.baseMirror);
    rotation = parts.rotation;
}

void TOrientation::Transform(long& width, long& height, TRect& r) const {
    const std::int32_t w = Cut(width);
    const std::int32_t h = Cut(height);

    std::int32_t newWidth = Cut(r.DX());
    std::int32_t newHeight = Cut(r.DY());
    if (IsTilt()) {
        std::swap(newWidth, newHeight);
        width = h;
        height = w;
    } else {
        width = w;
        height = h;
    }

    // The distances of r from the four page edges. Each orientation turns two
    // of them into the distances from the new left and top edges.
    enum Edge { Left, Top, Right, Bottom };
    static const Edge kNewLeftAndTop[8][2] = {
        {Left, Top},    {Top, Right},    {Right, Bottom}, {Bottom, Left},
        {Left, Bottom}, {Bottom, Right}, {Right, Top},    {Top, Left},
    };
    const std::int32_t distance[4] = {Cut(r.X0()), Cut(r.Y0()), Sub(w, Cut(r.X1())),
                                      Sub(h, Cut(r.Y1()))};
    const Edge* edges = kNewLeftAndTop[Orient()];
    const std::int32_t nx = distance[edges[0]];
    const std::int32_t ny = distance[edges[1]];
    r = TRect(nx, ny, arith32::Add(nx, newWidth), arith32::Add(ny, newHeight));
}

TOrientation::TRotate TOrientation::RotationToEnum(long degrees) {
    // The sign is ignored on purpose: -90 is Rotate90 like 90.
    switch (Cut(degrees)) {
    case 0:
        return Rotate0;
    case 90:
    case -90:
        return Rotate90;
    case 180:
    case -180:
        return Rotate180;
    case 270:
    case -270:
        return Rotate270;
    default:
        return RotateInvalid;
    }
}

long TOrientation::EnumToRotation(TRotate rotate) {
    switch (rotate) {
    case Rotate0:
        return 0;
    case Rotate90:
        return 90;
    case Rotate180:
        return 180;
    case Rotate270:
        return 270;
    default:
        return -1;
    }
}

// --------------------------------------------------------------- TTransform

const TTransform TTransform::Original;

TTransform::TTransform(long xDpi, long yDpi, long x0Offset, long y0Offset, long x1Offset,
                       long y1Offset, TFraction xFraction, TFraction yFraction,
                       TOrientation orientation) {
    Set(xDpi, yDpi, x0Offset, y0Offset, x1Offset, y1Offset, xFraction, yFraction, orientation);
}

void TTransform::Set(long xDpi, long yDpi, long x0Offset, long y0Offset, long x1Offset,
                     long y1Offset, TFraction xFraction, TFraction yFraction,
                     TOrientation orientation) {
    m_XDpi = Cut(xDpi);
    m_YDpi = Cut(yDpi);
    m_X0Offset = Cut(x0Offset);
    m_Y0Offset = Cut(y0Offset);
    m_X1Offset = Cut(x1Offset);
    m_Y1Offset = Cut(y1Offset);
    m_XFraction = xFraction;
    m_YFraction = yFraction;
    m_Orientation = orientation;
}

namespace {

// units * targetDpi / sourceDpi in 32-bit arithmetic when both resolutions
// are given; the units unchanged otherwise.
std::int32_t ChangeResolution(std::int32_t units, std::int32_t targetDpi, std::int32_t sourceDpi) {
    if (targetDpi == 0 || sourceDpi == 0)
        return units;
    return arith32::Div(arith32::Mul(targetDpi, units), sourceDpi);
}

} // namespace

void TTransform::Transform(long x, long y, long xDpi, long yDpi, long& width, long& height,
                           TRect& r) const {
    const std::int32_t contentWidth =
        Cut(m_XFraction.Transform(ChangeResolution(Cut(x), m_XDpi, Cut(xDpi))));
    const std::int32_t contentHeight =
        Cut(m_YFraction.Transform(ChangeResolution(Cut(y), m_YDpi, Cut(yDpi))));
    r = TRect(m_X0Offset, m_Y0Offset, Add(m_X0Offset, contentWidth),
              Add(m_Y0Offset, contentHeight));
    width = Add(contentWidth, Add(m_X0Offset, m_X1Offset));
    height = Add(contentHeight, Add(m_Y0Offset, m_Y1Offset));
    m_Orientation.Transform(width, height, r);
}

unsigned int TTransform::operator==(const TTransform& t) const {
    long width = 0, height = 0, otherWidth = 0, otherHeight = 0;
    TRect r, otherR;
    Transform(10000, 5000, 100, 200, width, height, r);
    t.Transform(10000, 5000, 100, 200, otherWidth, otherHeight, otherR);
    return width == otherWidth && height == otherHeight && r == otherR;
}
