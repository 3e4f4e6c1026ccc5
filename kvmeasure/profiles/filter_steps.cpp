// The table of all filter steps: name, numbers with their ranges, help, and the call of the library. Parsing,
// messages and help follow from it, so that a new step is a row.
#include <kvmeasure/profiles/filter_steps.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/running_median_p.h>

#include <kvmath/core/line.h>

#include <QtCore/QStringList>

#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure {

using KvMath::KvProfile;

namespace {

constexpr double kUnset = std::numeric_limits<double>::quiet_NaN();
constexpr double kMostMm = 1e6;
constexpr double kMostPoints = 1e6;  // of a profile

/// One number of a step.
struct Parameter {
    enum Form { Whole, Odd, Real, Limit, OptionalReal };  // a limit may be "-": none; optional ones come last
    const char* name;                                     // with its unit
    Form form;
    double from, to;
};

using Numbers = QVector<double>;

float real(const Numbers& numbers, int i) { return static_cast<float>(numbers[i]); }
int whole(const Numbers& numbers, int i) { return static_cast<int>(numbers[i]); }

Parameter window(double most) { return {"WINDOW points", Parameter::Whole, 2, most}; }
Parameter place(const char* name) { return {name, Parameter::Real, -kMostMm, kMostMm}; }
Parameter size(const char* name) { return {name, Parameter::Real, 0, kMostMm}; }
Parameter limit(const char* name) { return {name, Parameter::Limit, -kMostMm, kMostMm}; }
Parameter optional(const char* name) { return {name, Parameter::OptionalReal, -kMostMm, kMostMm}; }
Parameter count(const char* name) { return {name, Parameter::Whole, 0, kMostPoints}; }

}  // namespace

/// One kind of step. The filters take a result profile of the same length where they need one.
struct StepKind {
    const char* name;
    std::vector<Parameter> parameters;
    const char* help;
    void (*apply)(KvProfile& profile, const Numbers& numbers);
};

namespace {

void resample(KvProfile& profile, const Numbers& numbers) {
    float from = 0;
    float to = 0;
    float low = 0;
    float high = 0;
    if (!profile.calcRange(&from, &low, &to, &high, nullptr))
        return;
    const double first = std::isnan(numbers[1]) ? double(from) : numbers[1];
    const double last = std::isnan(numbers[2]) ? double(to) : numbers[2];
    if (!(last > first))
        throw Error(filledIn("TO (%1) must be greater than FROM (%2)", last, first));
    if ((last - first) / numbers[0] > kMostPoints)
        throw Error(filledIn("STEP %1 over %2 mm makes more than %3 points; take a wider one", numbers[0],
                             last - first, QString::number(kMostPoints, 'f', 0)));
    if (profile.interpolate(real(numbers, 0), real(numbers, 1), real(numbers, 2),
                            KvMath::KvInterpolantAkima) == 0)
        throw Error("needs at least two points at different x");
}

const std::vector<StepKind>& stepKinds() {
    static const std::vector<StepKind> kinds{
        {"median",
         {{"WINDOW points", Parameter::Odd, 3, 10'001}},
         "median of the heights around each point; windows shrink at ends and gaps",
         [](KvProfile& p, const Numbers& n) { Internal::runningMedian(p, whole(n, 0)); }},
        {"middle-by-x",
         {window(10'000)},
         "height of the window's middle point by x, at its first point: sorted points move, nothing smooths",
         [](KvProfile& p, const Numbers& n) { KvProfile(p).medFilt(p, whole(n, 0)); }},
        {"mean",
         {window(1000)},
         "mean height, at 2/5 of the window, earlier results included",
         [](KvProfile& p, const Numbers& n) { p.wndFilter(whole(n, 0)); }},
        {"slope",
         {window(1000)},
         "heights become slopes (mm per mm) between the halves of the window",
         [](KvProfile& p, const Numbers& n) { KvProfile(p).diffFilt(p, whole(n, 0)); }},
        {"lowpass",
         {{"[GAP mm]", Parameter::OptionalReal, 0, kMostMm}},
         "20-tap low-pass, lags by 10 points; points behind a wider gap stay",
         [](KvProfile& p, const Numbers& n) { p.zebFilter20(real(n, 0)); }},
        {"cut-above",
         {place("SLOPE mm/mm"), place("HEIGHT mm")},
         "removes points above y = SLOPE x + HEIGHT",
         [](KvProfile& p, const Numbers& n) {
             p.removeHighLevel({real(n, 0), real(n, 1)});
         }},
        {"cut-below",
         {place("SLOPE mm/mm"), place("HEIGHT mm")},
         "removes points below y = SLOPE x + HEIGHT",
         [](KvProfile& p, const Numbers& n) {
             p.removeLowLevel({real(n, 0), real(n, 1)});
         }},
        {"median-band",
         {size("HALF mm")},
         "keeps heights nearer than HALF to the median; leaves points sorted by height, sort-x mends that",
         [](KvProfile& p, const Numbers& n) { p.removePointsByYMedian(n[0]); }},
        {"noise",
         {{"BLOCK points", Parameter::Whole, 1, kMostPoints}, count("JUMPS"), size("JUMP mm")},
         "drops blocks with more than JUMPS steps of height above JUMP, and always the last block",
         [](KvProfile& p, const Numbers& n) { p.removeNoise(whole(n, 0), whole(n, 1), real(n, 2), 0); }},
        {"remove-straight",
         {{"PARTS", Parameter::Whole, 2, kMostPoints},
          {"CORRELATION", Parameter::Real, 0, 1},
          size("GAP mm"),
          count("POINTS")},
         "parts the profile at gaps in x, keeps parts of more than POINTS below the correlation",
         [](KvProfile& p, const Numbers& n) {
             p.removeLineParts(whole(n, 0), real(n, 1), real(n, 2), whole(n, 3));
         }},
        {"spikes",
         {size("JUMP mm"), size("WIDTH mm")},
         "removes spikes higher than JUMP and at most WIDTH wide",
         [](KvProfile& p, const Numbers& n) { KvProfile(p).splashFilter(p, real(n, 0), real(n, 1)); }},
        {"spikes-polar",
         {size("JUMP mm"),
          {"WIDTH deg", Parameter::Real, 0, 360},
          {"[NEAREST mm]", Parameter::OptionalReal, 0, kMostMm}},
         "the same on the distance from the origin; points nearer than NEAREST go",
         [](KvProfile& p, const Numbers& n) {
             KvProfile(p).splashFilterPolar(p, real(n, 0), real(n, 1), real(n, 2));
         }},
        {"smooth-polar",
         {{"GAP mm", Parameter::Limit, 0, kMostMm}, window(10'000), {"PASSES", Parameter::Whole, 1, 100}},
         "mean distance from the origin, within steps of it below GAP",
         [](KvProfile& p, const Numbers& n) {
             KvProfile(p).wndFilterPolar(p, real(n, 0), whole(n, 1), whole(n, 2));
         }},
        {"isolated",
         {size("RADIUS mm"), {"NEIGHBOURS", Parameter::Whole, 1, 1000}},
         "removes points with fewer NEIGHBOURS within RADIUS",
         [](KvProfile& p, const Numbers& n) { p.removeNoisyPoints(real(n, 0), whole(n, 1)); }},
        {"trim",
         {limit("XMIN"), limit("YMIN"), limit("XMAX"), limit("YMAX mm")},
         "keeps the points in the box, sides included; \"-\" is no limit",
         [](KvProfile& p, const Numbers& n) { p.trim(real(n, 0), real(n, 1), real(n, 2), real(n, 3)); }},
        {"trim-x",
         {limit("MIN"), limit("MAX mm")},
         "keeps MIN <= x <= MAX",
         [](KvProfile& p, const Numbers& n) { p.trimX(real(n, 0), real(n, 1)); }},
        {"trim-y",
         {limit("MIN"), limit("MAX mm")},
         "keeps MIN <= y <= MAX",
         [](KvProfile& p, const Numbers& n) { p.trimY(real(n, 0), real(n, 1)); }},
        {"trim-lower",
         {place("MIN mm")},
         "keeps y >= MIN",
         [](KvProfile& p, const Numbers& n) { p.trimLower(real(n, 0)); }},
        {"trim-upper",
         {place("MAX mm")},
         "keeps y <= MAX",
         [](KvProfile& p, const Numbers& n) { p.trimUpper(real(n, 0)); }},
        {"duplicates",
         {},
         "keeps the first point at each x",
         [](KvProfile& p, const Numbers& /*n*/) { p.removeDuplicates(); }},
        {"resample",
         {{"STEP mm", Parameter::Real, 1e-6, kMostMm}, optional("[FROM mm]"), optional("[TO mm]")},
         "a point every STEP on an Akima spline through the points",
         resample},
        {"sort-x",
         {},
         "sorts by ascending x",
         [](KvProfile& p, const Numbers& /*n*/) { p.sort(KvMath::KvSortAscending, KvMath::KvSortNone); }},
        {"shift",
         {place("DX mm"), place("DY mm")},
         "moves the points",
         [](KvProfile& p, const Numbers& n) { p.shift(real(n, 0), real(n, 1), 0); }},
        {"rotate",
         {{"ANGLE deg", Parameter::Real, -360, 360}},
         "turns about the origin, positive to the left",
         [](KvProfile& p, const Numbers& n) { p.rotateEvklid(real(n, 0)); }},
        {"polar",
         {},
         "(x, y) become distance from the origin, mm, and direction, degrees",
         [](KvProfile& p, const Numbers& /*n*/) { p.toPolar(); }},
        {"cartesian",
         {},
         "the way back from polar",
         [](KvProfile& p, const Numbers& /*n*/) { p.toEvklid(); }},
    };
    return kinds;
}

QString parameterNames(const StepKind& kind) {
    QString text;
    for (const Parameter& parameter : kind.parameters)
        text += QString(" ") + parameter.name;
    return text;
}

[[noreturn]] void failStep(int number, const QString& text, const QString& reason) {
    throw Error(
        filledIn("\1steps\2: step %1 \"%2\": %3 (see \"kvmeasure filter --help\")", number, text, reason));
}

/// What is wrong with a word, or nothing.
QString readNumber(const Parameter& parameter, const QString& word, double& value) {
    value = kUnset;
    if (word == "-" && (parameter.form == Parameter::Limit || parameter.form == Parameter::OptionalReal))
        return QString();
    if (!parseNumber(word, value))
        return QString("\"%1\" is no number for %2").arg(word, parameter.name);
    if (!(value >= parameter.from && value <= parameter.to))
        return filledIn("%1 must be from %2 to %3, not %4", parameter.name, parameter.from, parameter.to,
                        word);
    if (parameter.form == Parameter::Odd && std::fmod(value, 2) != 1)
        return QString("%1 must be an odd whole number, so that a point is in the middle, not %2")
            .arg(parameter.name, word);
    if (parameter.form == Parameter::Whole && value != std::floor(value))
        return QString("%1 must be a whole number, not %2").arg(parameter.name, word);
    return QString();
}

const StepKind& findKind(const QString& name, int number, const QString& text) {
    QStringList names;
    for (const StepKind& kind : stepKinds()) {
        if (name == kind.name)
            return kind;
        names.append(kind.name);
    }
    static const QMap<QString, QString> others{
        {"smooth", "median"},        {"medfilt", "middle-by-x"}, {"average", "mean"}, {"despike", "spikes"},
        {"outliers", "isolated"},    {"crop", "trim"},           {"cut", "trim"},     {"move", "shift"},
        {"interpolate", "resample"}, {"derivative", "slope"},    {"turn", "rotate"},  {"sort", "sort-x"}};
    failStep(number, text, QString("unknown filter \"%1\"%2").arg(name, suggestion(name, names, others)));
}

/// Trims whose limits are reversed remove every point, and nobody means that.
void checkLimits(const FilterStep& step, int number) {
    const int limits = step.kind->parameters.empty() || step.kind->parameters[0].form != Parameter::Limit
                           ? 0
                           : static_cast<int>(step.numbers.size()) / 2;
    for (int i = 0; i < limits; ++i) {
        const bool isTrim = step.kind->parameters[size_t(i) + size_t(limits)].form == Parameter::Limit;
        if (isTrim && step.numbers[i] > step.numbers[i + limits])
            failStep(number, step.text,
                     filledIn("the lower limit %1 is above the upper limit %2", step.numbers[i],
                              step.numbers[i + limits]));
    }
}

FilterStep parseStep(const QString& text, int number) {
    FilterStep step;
    step.text = text;
    QStringList words = text.split(' ');
    step.kind = &findKind(words.takeFirst(), number, text);
    for (const Parameter& parameter : step.kind->parameters) {
        double value = kUnset;
        if (words.isEmpty() && parameter.form != Parameter::OptionalReal)
            failStep(number, text,
                     QString("%1 is missing; expected \"%2%3\"")
                         .arg(parameter.name, step.kind->name, parameterNames(*step.kind)));
        if (!words.isEmpty()) {
            const QString problem = readNumber(parameter, words.takeFirst(), value);
            if (!problem.isEmpty())
                failStep(number, text, problem);
        }
        step.numbers.append(value);
    }
    if (!words.isEmpty())
        failStep(number, text,
                 QString("unexpected \"%1\"; expected \"%2%3\"; steps are parted by \";\"")
                     .arg(words.first(), step.kind->name, parameterNames(*step.kind)));
    checkLimits(step, number);
    return step;
}

}  // namespace

QList<FilterStep> parseSteps(const QString& text) {
    constexpr int kMostSteps = 100;
    QList<FilterStep> steps;
    int number = 0;
    for (const QString& part : text.split(';')) {
        ++number;
        const QString step = part.simplified();
        if (!step.isEmpty())
            steps.append(parseStep(step, number));
        if (steps.size() > kMostSteps)
            throw Error(QString("\1steps\2: has more than %1 steps; split the work").arg(kMostSteps));
    }
    if (steps.isEmpty())
        throw Error("\1steps\2: names no step; expected for example \"median 5; trim-y 0 120\"");
    return steps;
}

void applyStep(const FilterStep& step, int number, KvProfile& profile) {
    try {
        step.kind->apply(profile, step.numbers);
    } catch (const Error& error) {
        failStep(number, step.text, error.text());
    }
}

QString stepsHelp() {
    QString text = "Steps, parted by \";\"; [..] may be left out\n";
    for (const StepKind& kind : stepKinds()) {
        const QString head = QString("  ") + kind.name + parameterNames(kind);
        text += head.leftJustified(46) + "  " + kind.help + '\n';
    }
    return text;
}

}  // namespace KvMeasure
