#pragma once
// Passes over contiguous columns. A sum is one chain of additions in index order, which fixes its last bits;
// what may run side by side are the sums of several columns and everything that is not a sum.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace KvMath::Internal {

using Count = std::ptrdiff_t;

inline double sumOfMagnitudes(const double* x, Count count) {
    double sum = 0.0;
    for (Count k = 0; k < count; ++k)
        sum += std::fabs(x[k]);
    return sum;
}

/// Divides x and returns the sum of the squared quotients.
inline double divideAndSumSquares(double* x, Count count, double divisor) {
    double sum = 0.0;
    for (Count k = 0; k < count; ++k) {
        x[k] /= divisor;
        sum += x[k] * x[k];
    }
    return sum;
}

inline void multiply(double* x, Count count, double factor) {
    for (Count k = 0; k < count; ++k)
        x[k] *= factor;
}

template <std::size_t Width>
void projectOnColumns(const double* x, Count count, const double* columns, Count stride, double* sums) {
    std::array<double, Width> local = {};
    for (Count k = 0; k < count; ++k)
        for (std::size_t j = 0; j < Width; ++j)
            local[j] += x[k] * columns[static_cast<Count>(j) * stride + k];
    for (std::size_t j = 0; j < Width; ++j)
        sums[j] = local[j];
}

/// sums[j] = sum of x[k] * column j [k]; the columns begin `stride` apart.
inline void project(const double* x, Count count, const double* columns, Count stride, Count width,
                    double* sums) {
    Count j = 0;
    for (; j + 4 <= width; j += 4)
        projectOnColumns<4>(x, count, columns + j * stride, stride, sums + j);
    if (j + 2 <= width) {
        projectOnColumns<2>(x, count, columns + j * stride, stride, sums + j);
        j += 2;
    }
    if (j < width)
        projectOnColumns<1>(x, count, columns + j * stride, stride, sums + j);
}

/// y += factor * x
inline void addMultiple(double* __restrict y, const double* __restrict x, Count count, double factor) {
    for (Count k = 0; k < count; ++k)
        y[k] += factor * x[k];
}

/// (x, z) turned by the angle of cosine c and sine s.
inline void rotate(double* __restrict x, double* __restrict z, Count count, double c, double s) {
    for (Count k = 0; k < count; ++k) {
        const double x0 = x[k];
        x[k] = x0 * c + z[k] * s;
        z[k] = z[k] * c - x0 * s;
    }
}

template <std::size_t Width>
void reflectRowsOf(double* columns, Count stride, Count count, const double* pivot, const double* factors) {
    for (Count k = 0; k < count; ++k) {
        double dot = 0.0;
        for (std::size_t j = 0; j < Width; ++j)
            dot += columns[static_cast<Count>(j) * stride + k] * pivot[j];
        for (std::size_t j = 0; j < Width; ++j)
            columns[static_cast<Count>(j) * stride + k] += dot * factors[j];
    }
}

/// Adds to every row of the columns its product with `pivot`, times `factors`.
inline void reflectRows(double* columns, Count stride, Count width, Count count, const double* pivot,
                        const double* factors) {
    if (width == 1)
        return reflectRowsOf<1>(columns, stride, count, pivot, factors);
    if (width == 2)
        return reflectRowsOf<2>(columns, stride, count, pivot, factors);
    constexpr Count kBlock = 128;  // rows at a time stay in the nearest cache
    std::array<double, kBlock> dots;
    for (Count first = 0; first < count; first += kBlock) {
        const Count rows = count - first < kBlock ? count - first : kBlock;
        std::fill_n(dots.data(), rows, 0.0);
        for (Count j = 0; j < width; ++j)
            addMultiple(dots.data(), columns + j * stride + first, rows, pivot[j]);
        for (Count j = 0; j < width; ++j)
            addMultiple(columns + j * stride + first, dots.data(), rows, factors[j]);
    }
}

}  // namespace KvMath::Internal
