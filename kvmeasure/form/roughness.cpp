// Line of least squares away, short waves away, mean line, then heights section by section. Elements for RSm:
// the profile is cut at its crossings of the mean line; parts that are too low or too short join the part
// before them, and what then alternates are peaks and valleys.

#include <kvmeasure/form/roughness.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/form/gaussian_filter.h>
#include <kvmeasure/form/normal_equations_p.h>

#include <algorithm>

namespace KvMeasure {

namespace {

/// Points in order of x, less their line of least squares.
std::vector<Vector> levelled(std::vector<Vector> points) {
    std::sort(points.begin(), points.end(), [](const Vector& a, const Vector& b) { return a.x < b.x; });
    const double middle = (points.front().x + points.back().x) / 2;
    Internal::NormalEquations<2> equations;
    const double base = points.front().y;
    for (const Vector& p : points)
        equations.add({Internal::Real(p.x) - middle, 1}, Internal::Real(p.y) - base);
    Internal::Real line[2] = {0, 0};
    equations.solve(line);
    for (Vector& p : points)
        p.y = double((Internal::Real(p.y) - base) - (line[0] * (Internal::Real(p.x) - middle) + line[1]));
    return points;
}

double medianPitch(const std::vector<Vector>& points) {
    std::vector<double> distances;
    for (std::size_t i = 1; i < points.size(); ++i)
        distances.push_back(points[i].x - points[i - 1].x);
    const auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle;
}

/// Sums of heights over a stretch.
struct Heights {
    int count = 0;
    double sizes = 0, squares = 0, cubes = 0, fourths = 0;
    double peak = -std::numeric_limits<double>::infinity();
    double valley = std::numeric_limits<double>::infinity();

    void add(double z) {
        ++count;
        sizes += std::fabs(z);
        squares += z * z;
        cubes += z * z * z;
        fourths += z * z * z * z;
        peak = std::max(peak, z);
        valley = std::min(valley, z);
    }
    double mean(double sum) const { return sum / count; }
    double rq() const { return std::sqrt(squares / count); }
    double skewness() const { return rq() > 0 ? mean(cubes) / (rq() * rq() * rq()) : std::nan(""); }
    double kurtosis() const {
        return rq() > 0 ? mean(fourths) / (mean(squares) * mean(squares)) : std::nan("");
    }
};

/// A part of the profile on one side of the mean line.
struct Side {
    double from = 0, to = 0;
    double extreme = 0;  // with its sign
};

std::vector<Side> sidesOf(const std::vector<double>& x, const std::vector<double>& z) {
    std::vector<Side> sides;
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (sides.empty()) {
            sides.push_back({x[i], x[i], z[i]});
            continue;
        }
        if ((z[i] > 0) != (z[i - 1] > 0)) {
            const double crossing = x[i - 1] - z[i - 1] * (x[i] - x[i - 1]) / (z[i] - z[i - 1]);
            sides.back().to = crossing;
            sides.push_back({crossing, crossing, z[i]});
        }
        Side& side = sides.back();
        side.to = x[i];
        if (std::fabs(z[i]) > std::fabs(side.extreme))
            side.extreme = z[i];
    }
    return sides;
}

/// The mean length of an element; NaN below two.
double meanElement(const std::vector<double>& x, const std::vector<double>& z, double rz, double cutoff) {
    constexpr double kLeastHeight = 0.1, kLeastLength = 0.01;
    std::vector<Side> kept;
    for (const Side& side : sidesOf(x, z)) {
        const bool counts =
            std::fabs(side.extreme) >= kLeastHeight * rz && side.to - side.from >= kLeastLength * cutoff;
        const bool isSame = !kept.empty() && (kept.back().extreme > 0) == (side.extreme > 0);
        if (counts && !isSame)
            kept.push_back(side);
        else if (counts && std::fabs(side.extreme) > std::fabs(kept.back().extreme))
            kept.back().extreme = side.extreme;
        if (!kept.empty())
            kept.back().to = side.to;
    }
    // The first and the last part may be cut off by the ends of the profile.
    if (kept.size() < 5)
        return std::nan("");
    const std::size_t whole = (kept.size() - 2) / 2;
    return (kept[1 + 2 * whole].from - kept[1].from) / static_cast<double>(whole);
}

class Evaluation {
public:
    Evaluation(const RoughnessSettings& settings, Roughness& result) : settings_(settings), result_(result) {}
    void run(const std::vector<Vector>& points);

private:
    bool chooseLength(const std::vector<Vector>& points);
    void evaluate();
    void addNotes(const std::vector<Vector>& points);

    const RoughnessSettings& settings_;
    Roughness& result_;
};

bool Evaluation::chooseLength(const std::vector<Vector>& points) {
    const double cutoff = settings_.cutoff;
    const double margin = settings_.keepsEnds ? 0 : cutoff / 2;
    const double from = points.front().x + margin, length = points.back().x - margin - from;
    result_.pitch = medianPitch(points);
    const double rounding = 1e-9;
    result_.sections = static_cast<int>(std::min(1e6, std::floor(length / cutoff + rounding)));
    if (!(points.back().x > points.front().x))
        result_.reason = "all points have the same x";
    else if (result_.sections < 1)
        result_.reason = filledIn("the profile is %1 mm long: less than one sampling length of %2 mm%3",
                                  points.back().x - points.front().x, cutoff,
                                  settings_.keepsEnds ? "" : " with half a cut-off left out at each end");
    else if (!(result_.pitch <= cutoff / 5))
        result_.reason =
            filledIn("the pitch of %1 mm is above a fifth of the cut-off of %2 mm", result_.pitch, cutoff);
    result_.from = from + (length - result_.sections * cutoff) / 2;
    result_.to = result_.from + result_.sections * cutoff;
    return result_.reason.isEmpty();
}

void Evaluation::addNotes(const std::vector<Vector>& points) {
    constexpr int kUsual = 5;
    if (result_.sections < kUsual)
        result_.notes.append(filledIn("%1 sampling lengths; the norms take 5", result_.sections));
    if (settings_.keepsEnds)
        result_.notes.append("half a cut-off at each end counts: the filter is one-sided there");
    result_.notes.append(
        filledIn("waves shorter than %1 mm, twice the pitch, are not seen%2", 2 * result_.pitch,
                 settings_.shortCutoff > 0 && settings_.shortCutoff < 5 * result_.pitch
                     ? "; lambda s is below five pitches, so that its filter does not act as the norm says"
                     : ""));
    if (std::isnan(result_.values.rsk))
        result_.notes.append("all heights are 0: Rsk and Rku have no value");
    if (std::isnan(result_.values.rsm))
        result_.notes.append("RSm has no value: fewer than two whole elements");
    double widest = 0;
    for (std::size_t i = 1; i < points.size(); ++i)
        widest = std::max(widest, points[i].x - points[i - 1].x);
    if (widest > settings_.cutoff / 2)
        result_.notes.append(filledIn("there is a gap of %1 mm", widest));
}

void Evaluation::evaluate() {
    Heights all;
    std::vector<Heights> sections(static_cast<std::size_t>(result_.sections));
    std::vector<double> x, z;
    double waveLow = std::numeric_limits<double>::infinity(), waveHigh = -waveLow, waves = 0;
    const double rounding = 1e-9 * settings_.cutoff;
    for (std::size_t i = 0; i < result_.x.size(); ++i) {
        const double place = result_.x[i] - result_.from;
        if (place < -rounding || result_.x[i] > result_.to + rounding)
            continue;
        const auto section =
            std::min(static_cast<std::size_t>(std::max(0.0, place) / settings_.cutoff), sections.size() - 1);
        sections[section].add(result_.heights[i]);
        all.add(result_.heights[i]);
        x.push_back(result_.x[i]);
        z.push_back(result_.heights[i]);
        waves += std::fabs(result_.waviness[i]);
        waveLow = std::min(waveLow, result_.waviness[i]);
        waveHigh = std::max(waveHigh, result_.waviness[i]);
    }
    if (std::any_of(sections.begin(), sections.end(), [](const Heights& h) { return h.count < 2; })) {
        result_.reason = "a sampling length has fewer than two points";
        return;
    }
    const auto mean = [&](const auto& value) {
        double sum = 0;
        for (const Heights& section : sections)
            sum += value(section);
        return sum / static_cast<double>(sections.size());
    };
    const auto byNorm = [&](const auto& value) {
        return settings_.norm == RoughnessNorm::Iso4287 ? mean(value) : value(all);
    };
    RoughnessValues& values = result_.values;
    values.ra = byNorm([](const Heights& h) { return h.mean(h.sizes); });
    values.rq = byNorm([](const Heights& h) { return h.rq(); });
    values.rsk = byNorm([](const Heights& h) { return h.skewness(); });
    values.rku = byNorm([](const Heights& h) { return h.kurtosis(); });
    values.rp = mean([](const Heights& h) { return h.peak; });
    values.rv = mean([](const Heights& h) { return -h.valley; });
    values.rz = values.rp + values.rv;
    values.rt = all.peak - all.valley;
    values.rsm = meanElement(x, z, values.rz, settings_.cutoff);
    values.wa = waves / all.count;
    values.wz = waveHigh - waveLow;
}

void Evaluation::run(const std::vector<Vector>& given) {
    constexpr std::size_t kFewest = 3;
    if (given.size() < kFewest) {
        result_.reason = "fewer than three points";
        return;
    }
    std::vector<Vector> points = levelled(given);
    if (!chooseLength(points))
        return;
    if (settings_.shortCutoff > 0) {
        const std::vector<double> smooth = gaussianMeanLine(points, settings_.shortCutoff);
        for (std::size_t i = 0; i < points.size(); ++i)
            points[i].y = smooth[i];
    }
    result_.waviness = gaussianMeanLine(points, settings_.cutoff, settings_.isRobust);
    for (std::size_t i = 0; i < points.size(); ++i) {
        result_.x.push_back(points[i].x);
        result_.heights.push_back(points[i].y - result_.waviness[i]);
    }
    evaluate();
    addNotes(points);
}

}  // namespace

Roughness roughness(const std::vector<Vector>& points, const RoughnessSettings& settings) {
    if (!(settings.cutoff > 0) || !(settings.shortCutoff >= 0) || settings.shortCutoff >= settings.cutoff)
        throw Error("the short cut-off must be below the cut-off, and both above 0");
    Roughness result;
    Evaluation(settings, result).run(points);
    return result;
}

}  // namespace KvMeasure
