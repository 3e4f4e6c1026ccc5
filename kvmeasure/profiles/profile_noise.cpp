// Two estimates. The straight pieces of the line search hold many points each, but on a curved surface they
// are chords, whose deviations pass for noise. Parabolas through short runs follow the surface, but leave out
// runs with walls in them. The pieces count unless they are much noisier.

#include <kvmeasure/profiles/profile_noise.h>

#include <kvmeasure/base/double_quad_p.h>
#include <kvmeasure/profiles/line_pieces.h>
#include <kvmeasure/profiles/robust_line.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace KvMeasure {

using namespace Internal;

namespace {

KvMath::KvProfile profileOf(const std::vector<Vector>& points) {
    constexpr std::size_t kMostAtOnce = 0xFFFF;
    KvMath::KvProfile profile;
    std::vector<float> block;
    for (std::size_t from = 0; from < points.size(); from += kMostAtOnce) {
        const std::size_t count = std::min(points.size() - from, kMostAtOnce);
        block.resize(2 * count);
        for (std::size_t i = 0; i < count; ++i) {
            block[2 * i] = float(points[from + i].x);
            block[2 * i + 1] = float(points[from + i].y);
        }
        profile.copyFromXYPointsBuffer(block.data(), static_cast<unsigned short>(count));
    }
    return profile;
}

/// Of the straight pieces, each fitted anew without its two end points.
NoiseModel noiseOfPieces(const std::vector<Vector>& given) {
    constexpr int kLeastPoints = 12;
    const KvMath::KvProfile profile = profileOf(given);
    const ProfilePieces found = findPieces(profile, estimateSearch(profile));
    ResidualNoise noise;
    std::vector<Vector> points;
    for (const Piece& piece : found.pieces) {
        if (piece.ownPoints() < kLeastPoints)
            continue;
        points.clear();
        for (int i = piece.from + 1; i < piece.to; ++i)
            points.push_back(found.point(piece, i));
        noise.add(fitLine(points).residuals, 2);
    }
    return noise.model();
}

constexpr std::size_t kLength = 60;  // of a run, points
constexpr std::size_t kBlocks = kLength / kFour;
static_assert(kBlocks * kFour == kLength);

/// Residuals of the heights of a run from the parabola of least squares, by polynomials that are orthogonal
/// on its places.
KVMEASURE_INLINE_KERNEL void takeFromParabola(const Vector* points, double* residuals) {
    constexpr DoubleQuad kNone{0, 0, 0, 0};
    const double n = double(kLength);
    DoubleQuad x[kBlocks];
    DoubleQuad y[kBlocks];
    DoubleQuad ofX = kNone, ofY = kNone;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        takeFour(points + i * kFour, x[i], y[i]);
        x[i] -= points[0].x;
        y[i] -= points[0].y;
        ofX += x[i];
        ofY += y[i];
    }
    const double centre = sumOf(ofX) / n;
    const double mean = sumOf(ofY) / n;
    DoubleQuad ofSquares = kNone, ofCubes = kNone, ofProducts = kNone;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        x[i] -= centre;
        y[i] -= mean;
        ofSquares += x[i] * x[i];
        ofCubes += x[i] * x[i] * x[i];
        ofProducts += x[i] * y[i];
    }
    const double squares = sumOf(ofSquares);
    const double slope = squares > 0 ? sumOf(ofProducts) / squares : 0;
    const double skew = squares > 0 ? sumOf(ofCubes) / squares : 0;
    DoubleQuad ofBends = kNone, ofBent = kNone;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        y[i] -= slope * x[i];
        x[i] = x[i] * x[i] - squares / n - skew * x[i];
        ofBends += x[i] * x[i];
        ofBent += x[i] * y[i];
    }
    const double bends = sumOf(ofBends);
    const double bend = bends > 0 ? sumOf(ofBent) / bends : 0;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        const DoubleQuad residual = y[i] - bend * x[i];
        std::memcpy(residuals + i * kFour, &residual, sizeof(residual));
    }
}

KVMEASURE_FOR_AVX2 void takeFromParabolaForAvx2(const Vector* points, double* residuals) {
    takeFromParabola(points, residuals);
}

std::vector<double> fromParabola(const Vector* points) {
    std::vector<double> residuals(kLength);
    ofThisMachine(takeFromParabolaForAvx2, takeFromParabola)(points, residuals.data());
    return residuals;
}

/// Of runs of points, of which the half that scatters least counts, and others that scatter as little.
NoiseModel noiseOfRuns(const std::vector<Vector>& points) {
    constexpr int kParameters = 3;
    std::vector<std::vector<double>> runs;
    std::vector<double> deviations;
    for (std::size_t from = 0; from + kLength <= points.size(); from += kLength) {
        runs.push_back(fromParabola(points.data() + from));
        double squares = 0;
        for (const double residual : runs.back())
            squares += residual * residual;
        deviations.push_back(std::sqrt(squares / double(kLength - kParameters)));
    }
    ResidualNoise noise;
    if (!runs.empty()) {
        std::vector<double> sorted(deviations);
        const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>((sorted.size() - 1) / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        constexpr double kAlike = 1.5;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (deviations[i] <= kAlike * *middle)
                noise.add(std::move(runs[i]), kParameters);
        }
    }
    return noise.model();
}

}  // namespace

NoiseModel profileNoise(const std::vector<Vector>& points) {
    NoiseModel pieces = noiseOfPieces(points);
    if (pieces.deviation == 0)
        return pieces;
    const NoiseModel runs = noiseOfRuns(points);
    const auto ofMean = [](const NoiseModel& model) {
        return model.deviation * std::sqrt(model.correlationTime);
    };
    constexpr double kMuchNoisier = 1.3;
    const bool isKnown = std::isfinite(ofMean(runs));
    const bool isBetter = !std::isfinite(ofMean(pieces)) || ofMean(pieces) > kMuchNoisier * ofMean(runs);
    return isKnown && isBetter ? runs : pieces;
}

}  // namespace KvMeasure
