// Two estimates. The straight pieces of the line search hold many points each, but on a curved surface they
// are chords, whose deviations pass for noise. Parabolas through short runs follow the surface, but leave out
// runs with walls in them. The pieces count unless they are much noisier.

#include <kvmeasure/profiles/profile_noise.h>

#include <kvmeasure/profiles/line_pieces.h>
#include <kvmeasure/profiles/robust_line.h>
#include <kvmeasure/profiles/search_estimate.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace KvMeasure {

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

/// Residuals of the heights of a run from the parabola of least squares, by polynomials that are orthogonal
/// on its places.
std::vector<double> fromParabola(const std::vector<Vector>& points, std::size_t from, std::size_t count) {
    std::vector<double> residuals(count);
    std::vector<double> places(count);
    double centre = 0;
    for (std::size_t i = 0; i < count; ++i) {
        residuals[i] = points[from + i].y - points[from].y;
        places[i] = points[from + i].x - points[from].x;
        centre += places[i] / double(count);
    }
    std::vector<double> square(count);
    const auto take = [&](const std::vector<double>& polynomial) {
        double product = 0;
        double size = 0;
        for (std::size_t i = 0; i < count; ++i) {
            product += residuals[i] * polynomial[i];
            size += polynomial[i] * polynomial[i];
        }
        for (std::size_t i = 0; size > 0 && i < count; ++i)
            residuals[i] -= product / size * polynomial[i];
    };
    double squares = 0;
    double cubes = 0;
    for (double& place : places) {
        place -= centre;
        squares += place * place;
        cubes += place * place * place;
    }
    for (std::size_t i = 0; squares > 0 && i < count; ++i)
        square[i] = places[i] * places[i] - squares / double(count) - cubes / squares * places[i];
    take(std::vector<double>(count, 1.0));
    take(places);
    take(square);
    return residuals;
}

/// Of runs of points, of which the half that scatters least counts, and others that scatter as little.
NoiseModel noiseOfRuns(const std::vector<Vector>& points) {
    constexpr std::size_t kLength = 60;
    constexpr int kParameters = 3;
    std::vector<std::vector<double>> runs;
    std::vector<double> deviations;
    for (std::size_t from = 0; from + kLength <= points.size(); from += kLength) {
        runs.push_back(fromParabola(points, from, kLength));
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
