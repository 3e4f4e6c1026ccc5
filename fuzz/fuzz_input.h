#pragma once
// What a fuzz target makes of its bytes. Numbers are taken from the end, so that the front of an input stays
// the file that a reader gets: samples are inputs as they stand. Behind the last byte everything is 0.

#include <kvmath/base/vector2d.h>
#include <kvmath/core/point.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef __has_feature  // only clang's, which builds the fuzzers
#if __has_feature(address_sanitizer)
#define KVMATH_COUNTS_LEAKS
#include <sanitizer/lsan_interface.h>
#endif
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Fuzz {

/// Ends the program, as a fault does, where a promise is not kept.
inline void require(bool isKept, const char* promise) {
    if (isKept)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

/// While it lives no leak counts: Qt 5.15 loses memory over broken JSON.
#ifdef KVMATH_COUNTS_LEAKS
using LeaksIgnored = __lsan::ScopedDisabler;
#else
struct LeaksIgnored {
    LeaksIgnored() {}
};
#endif

class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), left_(size) {}

    size_t left() const { return left_; }

    /// True for one input in `count`, by a hash of all bytes: for what takes long. A byte would not do,
    /// because the engine keeps and changes the inputs that take the longest way.
    bool isOneIn(unsigned count) const {
        unsigned hash = 2166136261U;
        for (size_t i = 0; i < left_; ++i)
            hash = (hash ^ data_[i]) * 16777619U;
        return (hash >> 16) % count == 0;
    }

    int byte() { return left_ == 0 ? 0 : data_[--left_]; }
    bool flag() { return (byte() & 1) != 0; }
    int below(int count) { return byte() % count; }  ///< 0 ... count - 1, count <= 256

    template <class T>
    T raw() {
        uint64_t bits = 0;
        for (size_t i = 0; i < sizeof(T); ++i)
            bits = bits << 8 | static_cast<uint64_t>(byte());
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// Any int, with a preference for small ones and for both ends.
    int integer() {
        constexpr int kEnds[] = {INT_MIN, INT_MAX, 65535, 65536, -65536, 1 << 24, 1 << 30, 1000};
        const int kind = byte();
        return kind < 224 ? kind - 16 : kind < 240 ? kEnds[kind % 8] : raw<int>();
    }

    /// Any double: half of them from a coarse grid, which makes ties and straight runs, the others special
    /// values, fine values in the range of measurement, and raw bits.
    double number() {
        constexpr double kLimits[] = {
            double(NAN), double(INFINITY), -double(INFINITY), DBL_MAX, -DBL_MAX, DBL_MIN, 5e-324, 3.5e38,
            1e-45,       2147483648.0,     -2147483649.0,     1e18,    1e-18,    -0.0,    -1e100, 1e300};
        const int kind = byte();
        if (kind < 144)
            return (kind - 48) / 4.0;
        if (kind < 160)
            return kLimits[kind - 144];
        return kind < 240 ? raw<int16_t>() / 256.0 + kind / 65536.0 : raw<double>();
    }
    /// The same, narrowed; what no float holds is infinite.
    float real() {
        const double value = number();
        return static_cast<float>(std::fabs(value) > double(FLT_MAX) ? value * double(INFINITY) : value);
    }

    KvMath::KvVector2D<double> place() {
        const double x = number();
        return {x, number()};
    }
    KvMath::LinePP line() {
        const KvMath::KvVector2D<double> start = place();
        return {start, place()};
    }
    void point(KvMath::KvPointXY& p) { p = {real(), real()}; }
    void point(KvMath::KvPointXYZ& p) { p = {real(), real(), real()}; }

    /// Points until the bytes or `most` are used up.
    template <class Point>
    QList<Point> points(int most) {
        QList<Point> made;
        for (Point p; left_ > 0 && made.size() < most; made.append(p))
            point(p);
        return made;
    }
    QList<KvMath::KvVector2D<double>> places(int most) {
        QList<KvMath::KvVector2D<double>> made;
        while (left_ > 0 && made.size() < most)
            made.append(place());
        return made;
    }
    /// All bytes that are left, from the front.
    QByteArray rest() const { return {reinterpret_cast<const char*>(data_), static_cast<int>(left_)}; }

private:
    const uint8_t* data_;
    size_t left_;
};

}  // namespace Fuzz
