// Each kind tells the slopes of its values over the ends that it reads. For measurements of hosts each
// coordinate of these ends is moved a little, and the measurement is taken again. Where two lines meet, the
// end moves along one of them when the other one moves. Cost: for the noise a few passes over at most some
// thousand points, and some multiplications for each value.

#include <kvmeasure/inspection/template_uncertainty_p.h>

#include <kvmeasure/base/double_pair_p.h>
#include <kvmeasure/inspection/kinds/fitted_value.h>
#include <kvmeasure/inspection/kinds/fitted_value_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurement_list.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace KvMeasure::Internal {

using KvMath::LinePP;
using KvMath::TSLinesIndecies;
using KvMath::TSMeasurement;

namespace {

constexpr int kInputsOfLine = 2;

/// Adds the segments that a measurement reads, each once; none where it reads all of them.
void addSegmentsRead(const QList<int>& lines, const TSLinesIndecies& indices, std::vector<int>& read) {
    for (const int line : lines) {
        int segment = 0;
        if (indices.isAssigned(line) && indices.getLineIndex(line, segment) &&
            std::count(read.begin(), read.end(), segment) == 0)
            read.push_back(segment);
    }
}

QString noUncertainty(const QString& reason) { return "no uncertainty: " + reason; }

StatedNumber unknown(const QString& remark) {
    StatedNumber number;
    number.remark = remark;
    return number;
}

const QString& fewIndependent() {
    static const QString text = "the uncertainty rests on few independent points";
    return text;
}

/// The distances of points from the line fitted to them, in height or square to it.
std::vector<double> residualsOf(const ProfilePieces& found, int contour, const FittedPiece& fit) {
    const Vector* const points = found.contours[std::size_t(contour)].begin();
    const auto count = std::size_t(fit.points());
    std::vector<double> residuals(count);
    const double scale = fit.isInHeight ? 1 / fit.along.x : 1;
    const DoublePair centre = pairOf(fit.centre);
    const DoublePair across{-fit.along.y * scale, fit.along.x * scale};
    const Vector* const first = points + fit.from;
    const auto product = [&](std::size_t i) { return (pairOf(first[i]) - centre) * across; };
    std::size_t i = 0;
    for (; i + 2 <= count; i += 2) {
        const DoublePair one = product(i);
        const DoublePair other = product(i + 1);
        const DoublePair both = DoublePair{one[0], other[0]} + DoublePair{one[1], other[1]};
        std::memcpy(residuals.data() + i, &both, sizeof(both));
    }
    if (i < count)
        residuals[i] = product(i)[0] + product(i)[1];
    return residuals;
}

/// What the uncertainty of the fitted line rests on.
LineFit lineFitOf(const FittedPiece& fit) {
    LineFit line;
    line.points = fit.points();
    line.along = {std::fabs(fit.along.x), fit.along.y};
    line.spread = fit.spread;
    line.isInHeight = fit.isInHeight;
    const double across = fit.squares * (fit.isInHeight ? fit.along.x * fit.along.x : 1);
    line.deviation = std::sqrt(across / std::max(1, fit.points() - kInputsOfLine));
    return line;
}

/// Pieces whose lines the ends of such segments lie on, each once.
std::vector<int> piecesUnder(const ProfilePieces& found, const EdgeLines& lines,
                             const std::vector<int>& segments) {
    std::vector<int> pieces;
    constexpr std::size_t kMostOfSegment = 4;
    pieces.reserve(kMostOfSegment * segments.size());
    for (const int segment : segments) {
        for (const EndSupport& end : lines.support[std::size_t(found.pieceOf[std::size_t(segment)])]) {
            for (const int piece : {end.piece, end.other}) {
                if (piece >= 0)
                    pieces.push_back(piece);
            }
        }
    }
    std::sort(pieces.begin(), pieces.end());
    pieces.erase(std::unique(pieces.begin(), pieces.end()), pieces.end());
    return pieces;
}

/// The noise about such pieces; of the first thousand points, which tell its correlation well enough.
NoiseModel noiseOf(const ProfilePieces& found, const EdgeLines& lines, const std::vector<int>& pieces) {
    constexpr int kEnough = 1000;
    ResidualNoise noise;
    int points = 0;
    for (const int piece : pieces) {
        const FittedPiece& fit = lines.fits[std::size_t(piece)];
        if (fit.points() == 0 || points >= kEnough)
            continue;
        noise.add(residualsOf(found, found.pieces[std::size_t(piece)].contour, fit), kInputsOfLine);
        points += fit.points();
    }
    return noise.model();
}

/// What a measurement gives after its segments were moved.
class Numbers {
public:
    Numbers(TSMeasurement& measurement, Segments& segments, const TSLinesIndecies& indices)
        : measurement_(measurement), segments_(segments), indices_(indices) {}

    /// Slopes of the numbers over the ends of a segment, each per mm.
    void addSlopes(int segment, EndSlopes& slopes) {
        constexpr double kStep = 1e-6;  // of the length
        LinePP& line = segments_[segment];
        const double step = kStep * length(line.p1, line.p2);
        read(before_);
        for (const int end : {0, 1}) {
            Vector& place = end == 0 ? line.p1 : line.p2;
            move(place.x, step);
            const std::vector<double> ofX = slopes_;
            move(place.y, step);
            for (std::size_t i = 0; i < before_.size(); ++i)
                slopes.addAt(static_cast<int>(i), segment, end, {ofX[i], slopes_[i]});
        }
        measurement_.measure(segments_, indices_);
    }

private:
    void read(std::vector<double>& numbers) {
        numbers.clear();
        if (measurement_.measure(segments_, indices_))
            appendNumbers(measurement_, numbers);
    }

    /// Slopes over one coordinate. Directions come round at 360 degrees.
    void move(double& coordinate, double step) {
        constexpr double kFullTurn = 360;
        constexpr double kHalfTurn = 180;
        const double kept = coordinate;
        coordinate += step;
        const double moved = coordinate - kept;
        read(slopes_);
        coordinate = kept;
        slopes_.resize(before_.size(), std::nan(""));
        for (std::size_t i = 0; i < before_.size(); ++i) {
            double change = slopes_[i] - before_[i];
            if (std::fabs(change) > kHalfTurn)
                change = std::remainder(change, kFullTurn);
            slopes_[i] = change / moved;
        }
    }

    TSMeasurement& measurement_;
    Segments& segments_;
    TSLinesIndecies indices_;
    std::vector<double> before_, slopes_;
};

}  // namespace

TemplateUncertainty::TemplateUncertainty(const ProfilePieces& found, EdgeLines& lines,
                                         const TSLinesIndecies& indices, InspectionPlan& plan,
                                         const EvaluationOrder& order) {
    if (lines.fits.empty()) {
        static const QString raw = noUncertainty("the segments of the search are taken as they are");
        unknown_ = raw;
        return;
    }
    const QList<TSMeasurement*> measurements = plan.measurements.getAllMeasurements();
    std::vector<int> read;
    addSegmentsRead(order.linesRead(), indices, read);
    addLineInputs(found, lines, read);
    if (!unknown_.isEmpty())
        return;
    readsAll_.reserve(order.numbers());
    contributions_.reserve(order.numbers() * rowLength_);
    moves_.resize(std::size_t(lines.lines.size()));
    EndSlopes slopes(lines.lines, indices);
    for (int i = 0; i < measurements.size(); ++i) {
        const auto first = static_cast<int>(readsAll_.size());
        const int count = order.valuesOf(i);
        const bool readsAll = order.linesReadBy(i).isEmpty();
        readsAll_.resize(readsAll_.size() + std::size_t(count), readsAll);
        contributions_.resize(readsAll_.size() * rowLength_);
        if (count == 0 || readsAll || !measurements[i]->isValid())
            continue;
        slopes.clear();
        if (!order.kinds()[std::size_t(i)]->addSlopes(*measurements[i], slopes)) {
            read.clear();
            addSegmentsRead(order.linesReadBy(i), indices, read);
            Numbers numbers(*measurements[i], lines.lines, indices);
            for (const int segment : read)
                numbers.addSlopes(segment, slopes);
        }
        for (const EndSlopes::Slope& slope : slopes.slopes()) {
            if (slope.number < count)
                addContributions(first + slope.number, slope,
                                 movesOf(found, lines, slope.segment, slope.end));
        }
    }
}

/// What a number gains by the inputs of one end.
void TemplateUncertainty::addContributions(int number, const EndSlopes::Slope& slope, const Moves& moves) {
    constexpr double kNegligible = 1e-6;  // mm or degrees per mm or radian: rounding
    double* const row = contributions_.data() + std::size_t(number) * rowLength_;
    for (std::size_t i = 0; i < moves.count; ++i) {
        const Move& move = moves.of[i];
        for (const double change : {slope.slope.x * move.x, slope.slope.y * move.y}) {
            if (std::fabs(change) > kNegligible)  // what does not move need not be known
                row[move.input] += change * inputs_[move.input].u;
        }
    }
}

/// Offset and direction of the lines under such segments.
void TemplateUncertainty::addLineInputs(const ProfilePieces& found, const EdgeLines& lines,
                                        const std::vector<int>& segments) {
    firstInput_.assign(found.pieces.size(), 0);
    const std::vector<int> pieces = piecesUnder(found, lines, segments);
    const NoiseModel noise = noiseOf(found, lines, pieces);
    if (!pieces.empty() && !noise.reason.isEmpty()) {
        unknown_ = noUncertainty(noise.reason);
        return;
    }
    constexpr std::size_t kEndsOfSegment = 2;
    rowLength_ = 1 + kInputsOfLine * pieces.size() + kEndsOfSegment * segments.size();
    inputs_.reserve(rowLength_);
    inputs_.push_back({std::nan(""), 0, false});  // of an end that no fit tells
    for (const int piece : pieces) {
        const FittedPiece& fit = lines.fits[std::size_t(piece)];
        firstInput_[std::size_t(piece)] = inputs_.size();
        if (fit.points() == 0) {
            inputs_.resize(inputs_.size() + kInputsOfLine, {std::nan(""), 0, false});
            continue;
        }
        const LineUncertainty u = lineUncertainty(lineFitOf(fit), noise);
        inputs_.push_back({u.offset, u.degreesOfFreedom, u.isShort});
        inputs_.push_back({u.direction, u.degreesOfFreedom, u.isShort});
    }
}

/// How an end of a segment moves with its inputs.
const TemplateUncertainty::Moves& TemplateUncertainty::movesOf(const ProfilePieces& found,
                                                               const EdgeLines& lines, int segment, int end) {
    Moves& moves = moves_[std::size_t(segment)][std::size_t(end)];
    if (moves.count > 0)
        return moves;
    const int piece = found.pieceOf[std::size_t(segment)];
    const EndSupport& support = lines.support[std::size_t(piece)][std::size_t(end)];
    if (support.piece < 0)
        return moves.add({0, 1, 0}).add({0, 0, 1});
    const LinePP& line = lines.lines[segment];
    const Vector& at = end == 0 ? line.p1 : line.p2;
    // A line that moves by 1 mm square to itself moves the end by `way`.
    const auto add = [&](int on, const Vector& way) {
        const FittedPiece& fit = lines.fits[std::size_t(on)];
        const std::size_t input = firstInput_[std::size_t(on)];
        const double arm = (at.x - fit.centre.x) * fit.along.x + (at.y - fit.centre.y) * fit.along.y;
        moves.add({input, way.x, way.y}).add({input + 1, arm * way.x, arm * way.y});
    };
    const FittedPiece& fit = lines.fits[std::size_t(support.piece)];
    if (support.other >= 0) {
        const Vector& other = lines.fits[std::size_t(support.other)].along;
        const double sine = fit.along.x * other.y - fit.along.y * other.x;
        add(support.piece, {other.x / sine, other.y / sine});
        add(support.other, {-fit.along.x / sine, -fit.along.y / sine});
        return moves;
    }
    if (fit.isInHeight)
        add(support.piece, {0, 1 / fit.along.x});
    else
        add(support.piece, {-fit.along.y, fit.along.x});
    const Piece& own = found.pieces[std::size_t(support.piece)];
    const Vector& first = found.point(own, own.from);
    const Vector& last = found.point(own, own.to);
    const double pitch = length(first, last) / (own.to - own.from);
    const double ofHeight = fit.points() > 0 && !fit.isInHeight
                                ? std::sqrt(fit.squares / fit.points()) * std::fabs(fit.along.y)
                                : 0;
    inputs_.push_back(
        {std::hypot(pitch / kRootOf12, ofHeight), std::numeric_limits<double>::infinity(), false});
    return moves.add({inputs_.size() - 1, fit.along.x, fit.along.y});
}

StatedNumber TemplateUncertainty::sumOf(const double* contributions) const {
    StatedNumber number;
    UncertaintySum sum;
    double ofFew = 0;
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
        if (contributions[i] == 0)
            continue;
        sum.add(contributions[i], inputs_[i].degreesOfFreedom);
        ofFew += inputs_[i].isShort ? contributions[i] * contributions[i] : 0;
    }
    number.u = sum.u();
    number.degreesOfFreedom = sum.degreesOfFreedom();
    constexpr double kMuch = 0.1;  // of the variance
    if (!std::isfinite(number.u)) {
        static const QString fewPoints = noUncertainty("a line has too few points of its own");
        return unknown(fewPoints);
    }
    if (ofFew > kMuch * number.u * number.u)
        number.remark = fewIndependent();
    return number;
}

StatedNumber TemplateUncertainty::of(int number) const {
    if (!unknown_.isEmpty())
        return unknown(unknown_);
    const auto place = std::size_t(number);
    if (place >= readsAll_.size())  // a measurement of a host with more results than it names
        return unknown(noUncertainty("its measurement gives more results than it names"));
    static const QString anySegment = noUncertainty("which segment is meant may change with the noise");
    return readsAll_[place] ? unknown(anySegment) : sumOf(contributions_.data() + place * rowLength_);
}

StatedNumber TemplateUncertainty::ofMean(int first, int second) const {
    for (const int number : {first, second}) {
        if (!unknown_.isEmpty() || std::size_t(number) >= readsAll_.size() || readsAll_[std::size_t(number)])
            return of(number);
    }
    std::vector<double> mean(rowLength_);
    for (const int number : {first, second}) {
        const double* const row = contributions_.data() + std::size_t(number) * rowLength_;
        for (std::size_t i = 0; i < mean.size(); ++i)
            mean[i] += row[i] / 2;
    }
    return sumOf(mean.data());
}

}  // namespace KvMeasure::Internal
