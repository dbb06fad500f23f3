// How the geometry values appear in test failure messages.
#ifndef BASEKEL_TESTS_GEOMETRYPRINT_H
#define BASEKEL_TESTS_GEOMETRYPRINT_H

#include <ostream>

#include "Geometry.h"
#include "Transform.h"

inline std::ostream& operator<<(std::ostream& out, const TPoint& p) {
    return out << "(" << p.X() << ", " << p.Y() << ")";
}

inline std::ostream& operator<<(std::ostream& out, const TUnsignedPoint& p) {
    return out << "(" << p.X() << ", " << p.Y() << ")";
}

inline std::ostream& operator<<(std::ostream& out, const TRect& r) {
    return out << "(" << r.X0() << ", " << r.Y0() << ", " << r.X1() << ", " << r.Y1() << ")";
}

inline std::ostream& operator<<(std::ostream& out, const TFraction& f) {
    return out << f.Numerator() << "/" << f.Denominator();
}

#endif
