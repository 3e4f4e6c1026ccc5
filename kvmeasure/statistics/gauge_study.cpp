// Average and range: AIAG, Measurement Systems Analysis, 4th edition, 2010. Analysis of variance: two crossed
// factors, both random, expected mean squares. Sums are of differences from the mean of all, in long double.

#include <kvmeasure/statistics/gauge_study.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/statistics/centred_sums_p.h>
#include <kvmeasure/statistics/distributions.h>

#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <algorithm>

namespace KvMeasure {

namespace {

using Internal::Real;

/// Cells that are laid out although some must be empty, to name the first empty one; more are refused unseen.
constexpr std::size_t kCellsWithoutReadings = 1'000'000;

/// The readings as a table of parts and appraisers, relative to the mean of all.
class Study {
public:
    explicit Study(const std::vector<StudyReading>& readings);
    QString fault() const;
    int parts() const { return static_cast<int>(parts_.size()); }
    int appraisers() const { return static_cast<int>(appraisers_.size()); }
    int trials() const { return static_cast<int>(cells_.front().size()); }
    const std::vector<Real>& cell(int part, int appraiser) const { return cells_[place(part, appraiser)]; }
    Real cellMean(int part, int appraiser) const;
    Real partMean(int part) const;
    Real appraiserMean(int appraiser) const;
    void byRange(GaugeStudy& result) const;
    void byAnova(double poolingProbability, GaugeStudy& result) const;

private:
    /// Where the cell stands in `cells_`: part by part, the appraisers of one after another.
    std::size_t place(int part, int appraiser) const {
        return static_cast<std::size_t>(part) * static_cast<std::size_t>(appraisers()) +
               static_cast<std::size_t>(appraiser);
    }
    Real repeatSquares() const;
    void componentsOf(double poolingProbability, GaugeStudy& result) const;

    QMap<QString, int> parts_, appraisers_;
    bool isSparse_ = false;
    std::vector<std::vector<Real>> cells_;
};

Study::Study(const std::vector<StudyReading>& readings) {
    std::vector<double> values;
    for (const StudyReading& reading : readings) {
        parts_.insert(reading.part, 0);
        appraisers_.insert(reading.appraiser, 0);
        values.push_back(reading.value);
    }
    for (QMap<QString, int>* names : {&parts_, &appraisers_}) {
        int number = 0;
        for (int& place : *names)
            place = number++;
    }
    const std::size_t cells = static_cast<std::size_t>(parts()) * static_cast<std::size_t>(appraisers());
    isSparse_ = cells > kCellsWithoutReadings && cells > readings.size();
    if (values.empty() || isSparse_)
        return;
    cells_.resize(cells);
    const double base = values.front();
    const Real mean = Internal::centredSums(values, base).offset;
    for (const StudyReading& reading : readings)
        cells_[place(parts_[reading.part], appraisers_[reading.appraiser])].push_back(
            (Real(reading.value) - base) - mean);
}

/// Why the study has no result: the first cell that differs from the most frequent size.
QString Study::fault() const {
    if (isSparse_)
        return filledIn(
            "%1 parts by %2 appraisers have more cells than readings; a study needs as many in every cell",
            parts(), appraisers());
    if (cells_.empty())
        return "no readings";
    if (parts() < 2)
        return "one part alone: nothing says how parts differ";
    std::size_t usual = 0;
    for (const auto& cell : cells_)
        usual = std::max(usual, cell.size());
    for (auto part = parts_.begin(); part != parts_.end(); ++part) {
        for (auto appraiser = appraisers_.begin(); appraiser != appraisers_.end(); ++appraiser) {
            const std::size_t size = cell(part.value(), appraiser.value()).size();
            if (size != usual)
                return filledIn("part %1, appraiser %2 has %3 of %4 readings; a study needs as many in every "
                                "cell",
                                part.key(), appraiser.key(), size, usual);
        }
    }
    return usual < 2 ? "one trial alone: nothing says how readings of one part differ" : QString();
}

Real Study::cellMean(int part, int appraiser) const {
    Real sum = 0;
    for (const Real value : cell(part, appraiser))
        sum += value;
    return sum / trials();
}

Real Study::partMean(int part) const {
    Real sum = 0;
    for (int i = 0; i < appraisers(); ++i)
        sum += cellMean(part, i);
    return sum / appraisers();
}

Real Study::appraiserMean(int appraiser) const {
    Real sum = 0;
    for (int i = 0; i < parts(); ++i)
        sum += cellMean(i, appraiser);
    return sum / parts();
}

/// One over the mean range of `count` values, with AIAG's digits where its tables have it; `isOne`: of one
/// range alone.
Real rangeFactor(int count, bool isOne) {
    static const double ofMany[] = {0.8862, 0.5908};
    static const double ofOne[] = {0.7071, 0.5231, 0.4467, 0.4030, 0.3742, 0.3534, 0.3375, 0.3249, 0.3146};
    const auto i = static_cast<std::size_t>(count - 2);
    if (isOne && i < std::size(ofOne))
        return ofOne[i];
    if (!isOne && i < std::size(ofMany))
        return ofMany[i];
    const RangeOfNormal range = rangeOfNormal(count);
    return 1 / (isOne ? std::hypot(range.mean, range.deviation) : range.mean);
}

template <class Value>
Real rangeOf(int count, const Value& value) {
    Real low = value(0), high = low;
    for (int i = 1; i < count; ++i) {
        low = std::min(low, value(i));
        high = std::max(high, value(i));
    }
    return high - low;
}

void Study::byRange(GaugeStudy& result) const {
    Real ranges = 0;
    for (const auto& cell : cells_)
        ranges += rangeOf(trials(), [&](int i) { return cell[static_cast<std::size_t>(i)]; });
    const Real ev = ranges / static_cast<Real>(cells_.size()) * rangeFactor(trials(), false);
    Real av = 0;
    if (appraisers() > 1) {
        const Real difference = rangeOf(appraisers(), [this](int i) { return appraiserMean(i); });
        const Real reached = difference * rangeFactor(appraisers(), true);
        av = std::sqrt(std::max(Real(0), reached * reached - ev * ev / (parts() * trials())));
    }
    const Real pv = rangeOf(parts(), [this](int i) { return partMean(i); }) * rangeFactor(parts(), true);
    result.ev = double(ev);
    result.av = double(av);
    result.grr = double(std::hypot(ev, av));
    result.pv = double(pv);
    result.tv = double(std::sqrt(ev * ev + av * av + pv * pv));
}

Real Study::repeatSquares() const {
    Real squares = 0;
    for (int i = 0; i < parts(); ++i) {
        for (int k = 0; k < appraisers(); ++k) {
            const Real mean = cellMean(i, k);
            for (const Real value : cell(i, k))
                squares += (value - mean) * (value - mean);
        }
    }
    return squares;
}

/// Mean squares, F and the components that follow from the expected mean squares.
void Study::componentsOf(double poolingProbability, GaugeStudy& result) const {
    StudySource& part = result.partSource;
    StudySource& appraiser = result.appraiserSource;
    StudySource& both = result.interactionSource;
    StudySource& repeat = result.repeatSource;
    const auto mean = [](const StudySource& source) {
        return source.freedom > 0 ? source.squares / source.freedom : 0;
    };
    if (both.freedom > 0) {
        both.f = mean(both) / mean(repeat);
        both.probability = fShareAbove(both.f, both.freedom, repeat.freedom);
        result.isPooled = both.probability > poolingProbability || !(both.squares > 0);
    }
    const int n = trials();
    if (result.isPooled) {
        repeat.squares += both.squares;
        repeat.freedom += both.freedom;
    } else {
        both.variance = std::max(0.0, (mean(both) - mean(repeat)) / n);
    }
    const StudySource& error = both.freedom > 0 && !result.isPooled ? both : repeat;
    for (StudySource* source : {&part, &appraiser}) {
        if (source->freedom < 1)
            continue;
        source->f = mean(*source) / mean(error);
        source->probability = fShareAbove(source->f, source->freedom, error.freedom);
        const int others = source == &part ? appraisers() : parts();
        source->variance = std::max(0.0, (mean(*source) - mean(error)) / (n * others));
    }
    repeat.variance = mean(repeat);
}

void Study::byAnova(double poolingProbability, GaugeStudy& result) const {
    Real ofParts = 0, ofAppraisers = 0, ofBoth = 0;
    for (int i = 0; i < parts(); ++i)
        ofParts += partMean(i) * partMean(i);
    for (int k = 0; k < appraisers(); ++k)
        ofAppraisers += appraiserMean(k) * appraiserMean(k);
    for (int i = 0; i < parts(); ++i) {
        for (int k = 0; k < appraisers(); ++k) {
            const Real d = cellMean(i, k) - partMean(i) - appraiserMean(k);
            ofBoth += d * d;
        }
    }
    const int n = trials();
    result.partSource.squares = double(ofParts * n * appraisers());
    result.partSource.freedom = parts() - 1;
    result.appraiserSource.squares = double(ofAppraisers * n * parts());
    result.appraiserSource.freedom = appraisers() - 1;
    result.interactionSource.squares = double(ofBoth * n);
    result.interactionSource.freedom = (parts() - 1) * (appraisers() - 1);
    result.repeatSource.squares = double(repeatSquares());
    result.repeatSource.freedom = parts() * appraisers() * (n - 1);
    componentsOf(poolingProbability, result);
    const double ev = result.repeatSource.variance, av = result.appraiserSource.variance,
                 both = result.interactionSource.variance, pv = result.partSource.variance;
    result.ev = std::sqrt(ev);
    result.av = std::sqrt(av);
    result.interaction = std::sqrt(both);
    result.grr = std::sqrt(ev + av + both);
    result.pv = std::sqrt(pv);
    result.tv = std::sqrt(ev + av + both + pv);
}

}  // namespace

GaugeStudy gaugeStudy(const std::vector<StudyReading>& readings, StudyMethod method,
                      double poolingProbability) {
    GaugeStudy result;
    const Study study(readings);
    result.parts = study.parts();
    result.appraisers = study.appraisers();
    result.reason = study.fault();
    if (!result.reason.isEmpty())
        return result;
    result.trials = study.trials();
    if (method == StudyMethod::Range)
        study.byRange(result);
    else
        study.byAnova(poolingProbability, result);
    if (result.appraisers < 2)
        result.note = "one appraiser: AV is not determined and counts as 0";
    constexpr double kMost = 1e6;
    if (result.grr > 0 && result.pv / result.grr < kMost)
        result.ndc = static_cast<int>(1.41 * result.pv / result.grr);
    else
        result.note += (result.note.isEmpty() ? "" : "; ") +
                       QString("the readings of each part are equal: ndc is not determined");
    return result;
}

}  // namespace KvMeasure
