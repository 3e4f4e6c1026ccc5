// The results as data are those of a second report, whose profiles are forgotten once they are too many. Of
// the pictures those of the worst profiles are kept, so that memory does not grow with the profiles.

#include <kvmeasure/report/match_page.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/match_report_p.h>
#include <kvmeasure/report/series_report.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// How far a value lies from the middle of its limits: 1 at a limit. With one limit alone: 0, or above 1
/// where it is beyond.
double strain(const Value& value) {
    const double deviation = value.deviation();
    const double lower = value.tolerance.lower, upper = value.tolerance.upper;
    const double half = (upper - lower) / 2;
    if (!(half > 0 && std::isfinite(half)))
        return value.isGood() ? 0 : 2;
    return std::fabs(deviation - (upper + lower) / 2) / half;
}

/// Higher for worse profiles.
double badness(const MatchedProfile& profile) {
    if (profile.found == 0)
        return 4;
    double worst = 0;
    for (const Value& value : profile.best.values) {
        if (!value.isValid)
            return 3;
        if (!value.hasTolerance)
            continue;
        const double own = strain(value);
        worst = std::max(worst, value.isGood() ? std::min(own, 1.0) : 1 + own / (1 + own));
    }
    return worst;
}

QString numberOr(double value, const QString& absent = "-") {
    return std::isfinite(value) ? mm(value) : absent;
}

/// The values that there are, with the places of these.
ValueSeries measuredOf(const Series& series, std::vector<int>& places) {
    ValueSeries measured;
    measured.name = series.name;
    measured.unit = series.unit;
    if (series.hasTolerance)
        measured.limits = {series.tolerance.least(), series.tolerance.greatest()};
    for (std::size_t i = 0; i < series.values.size(); ++i) {
        if (!std::isfinite(series.values[i]))
            continue;
        measured.values.push_back(series.values[i]);
        places.push_back(static_cast<int>(i));
    }
    return measured;
}

/// The control chart of the values that there are, its findings by their places.
ControlChart chartOf(const Series& series) {
    std::vector<int> places;
    ControlChart chart = controlChart(measuredOf(series, places).values);
    for (ChartSignal& finding : chart.findings)
        finding.index = places[static_cast<std::size_t>(finding.index)];
    return chart;
}

/// The first findings of a chart, and how many more.
QString findingsText(const ControlChart& chart, const QStringList& names) {
    constexpr int kShown = 5;
    QStringList texts;
    for (const ChartSignal& finding : chart.findings) {
        if (texts.size() == kShown)
            break;
        texts.append(names.value(finding.index) + ": " + finding.rule);
    }
    const auto more = chart.findings.size() - static_cast<std::size_t>(texts.size());
    return texts.join("; ") + (more > 0 ? filledIn("; and %1 more", more) : QString());
}

}  // namespace

MatchPage::MatchPage(const InspectionPlan& plan, MatchReport::Form form)
    : plan_(plan), report_(form, plan, false, true, [this](const QString& text) {
          if (isSummary_)
              summaryJson_ += text.toUtf8();
          else if (!leavesProfilesOut_)
              profilesJson_ += text.toUtf8();
      }) {}

/// Name, verdict and reasons, then the values.
void MatchPage::addRow(const MatchedProfile& profile) {
    if (head_.isEmpty()) {
        for (const Value& value : profile.best.values)
            head_.append(value.unit.isEmpty() ? value.name : value.name + ", " + value.unit);
    }
    std::map<int, QStringList>& rows = profile.isGood() ? goodRows_ : badRows_;
    if (rows.size() >= std::size_t(kMostRows))
        return;
    QStringList values, reasons;
    if (!profile.reason.isEmpty())
        reasons.append(profile.reason);
    for (const Value& value : profile.best.values) {
        values.append(value.isValid ? mm(value.value) : "-");
        if (!value.isValid && !value.reason.isEmpty() && !reasons.contains(value.reason))
            reasons.append(value.reason);
    }
    rows[profiles_] =
        QStringList{profile.name, verdictText(profile.best, profile.found > 0), reasons.join("; ")} + values;
}

/// The table of profiles; its column of reasons where there are any. Where there is no room for all, those
/// that are not good come first.
void MatchPage::addProfiles(HtmlPage& page) const {
    const bool isPart = profiles_ > kMostRows;
    QList<QStringList> rows;
    if (isPart) {
        for (const auto* some : {&badRows_, &goodRows_}) {
            for (auto row = some->begin(); row != some->end() && rows.size() < kMostRows; ++row)
                rows.append(row->second);
        }
    } else {
        std::map<int, QStringList> all = badRows_;
        all.insert(goodRows_.begin(), goodRows_.end());
        for (const auto& row : all)
            rows.append(row.second);
    }
    const bool hasReasons =
        std::any_of(rows.begin(), rows.end(), [](const QStringList& row) { return !row[2].isEmpty(); });
    for (QStringList& row : rows) {
        while (row.size() < head_.size() + 3)
            row.append("-");
        if (!hasReasons)
            row.removeAt(2);
    }
    const QStringList head =
        hasReasons ? QStringList{"profile", "verdict", "reason"} : QStringList{"profile", "verdict"};
    page.addTable(isPart ? filledIn("%1 of %2 profiles, those that are not good first", kMostRows, profiles_)
                         : QString("Profiles"),
                  head + head_, rows);
}

void MatchPage::addFact(const QString& what, const QString& value) {
    facts_.append(QStringList{what, value});
}

void MatchPage::add(const MatchedProfile& profile, const std::function<QByteArray()>& draw) {
    if (++profiles_ == 1)
        first_ = profile;
    found_ += profile.found > 0 ? 1 : 0;
    good_ += profile.isGood() ? 1 : 0;
    names_.append(profile.name);
    report_.add(profile);
    if (profilesJson_.size() > kLargestResults) {
        leavesProfilesOut_ = true;
        profilesJson_.clear();
    }
    for (const Value& value : profile.best.values) {
        double& greatest = greatestU_.emplace(value.name, kNaN).first->second;
        if (value.isValid && !(value.expandedU() <= greatest) && std::isfinite(value.expandedU()))
            greatest = value.expandedU();
    }
    addRow(profile);
    const double own = badness(profile);
    const bool isFull = worst_.size() >= std::size_t(kMostPictures);
    if (!draw || (isFull && own <= std::prev(worst_.end())->first))
        return;
    const QString caption = profile.name + ": " + verdictText(profile.best, profile.found > 0) +
                            (profile.reason.isEmpty() ? QString() : "; " + profile.reason);
    worst_.emplace(own, Drawn{caption, draw(), profile.isGood()});
    if (isFull)
        worst_.erase(std::prev(worst_.end()));
}

void MatchPage::addPictures(HtmlPage& page) const {
    constexpr std::size_t kMostOpen = 3;
    std::vector<const Drawn*> bad, good;
    for (const auto& each : worst_)
        (each.second.isGood ? good : bad).push_back(&each.second);
    const auto add = [&page](const std::vector<const Drawn*>& some, std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < std::min(to, some.size()); ++i)
            page.addPicture(some[i]->caption, some[i]->svg);
    };
    if (!bad.empty())
        page.addHeading(
            profiles_ > kMostPictures
                ? filledIn("Pictures: %1 profile(s) that are not good, the worst first", bad.size())
                : QString("Pictures of profiles that are not good"));
    add(bad, 0, kMostOpen);
    if (bad.size() > kMostOpen) {
        page.startDetails(filledIn("%1 more pictures of profiles that are not good", bad.size() - kMostOpen),
                          false);
        add(bad, kMostOpen, bad.size());
        page.endDetails();
    }
    if (profiles_ == 1) {
        add(good, 0, 1);
    } else if (!good.empty()) {
        page.startDetails(
            filledIn("Pictures of %1 good profile(s), nearest to their limits first", good.size()), false);
        add(good, 0, good.size());
        page.endDetails();
    }
}

/// Of a single profile each value, with its reason where it is missing.
void MatchPage::addValues(HtmlPage& page) const {
    if (first_.best.values.isEmpty()) {
        page.addText("No value: " + verdictText(first_.best, first_.found > 0) +
                     (first_.reason.isEmpty() ? QString() : "; " + first_.reason));
        return;
    }
    QList<QStringList> rows;
    for (const Value& value : first_.best.values) {
        const bool hasNominal = value.hasTolerance && value.tolerance.hasNominal;
        const QString verdict = !value.isValid        ? "NOT MEASURED"
                                : !value.hasTolerance ? "no limits"
                                : value.isGood()      ? "good"
                                                      : "OUT";
        rows.append({value.name, verdict, value.isValid ? mm(value.value) : QString("-"),
                     numberOr(value.expandedU()), value.unit,
                     hasNominal ? mm(value.tolerance.nominal) : QString("-"),
                     value.hasTolerance ? value.tolerance.limits() : QString("none"),
                     value.isValid && hasNominal ? mm(value.deviation()) : QString("-"), value.reason});
    }
    page.addTable(
        "Results",
        {"value", "verdict", "measured", "U (k = 2)", "unit", "nominal", "limits", "deviation", "reason"},
        rows);
}

void MatchPage::addStatistics(HtmlPage& page, const Trend& trend) const {
    QList<QStringList> rows;
    QList<std::vector<double>> curves;
    for (const Series& series : trend.series) {
        const Statistics& s = series.statistics;
        const auto greatest = greatestU_.find(series.name);
        const double nominal =
            series.hasTolerance && series.tolerance.hasNominal ? series.tolerance.nominal : kNaN;
        rows.append({series.name,
                     !series.hasTolerance  ? QString("no limits")
                     : s.outside > 0       ? filledIn("OUT: %1", s.outside)
                     : s.count < profiles_ ? filledIn("NOT MEASURED: %1", profiles_ - s.count)
                                           : QString("good"),
                     series.unit, QString::number(s.count), numberOr(nominal),
                     series.hasTolerance ? series.tolerance.limits() : QString("-"),
                     s.count > 0 ? mm(s.mean) : QString("-"), s.count > 0 ? numberOr(s.mean - nominal) : "-",
                     numberOr(s.deviation()), s.count > 0 ? mm(s.minimum) : QString("-"),
                     s.count > 0 ? mm(s.maximum) : QString("-"),
                     greatest == greatestU_.end() ? QString("-") : numberOr(greatest->second)});
        curves.append(series.values);
    }
    page.addTable("Results",
                  {"value", "verdict", "unit", "count", "nominal", "limits", "mean", "mean - nominal",
                   "std dev", "least", "greatest", "U at most"},
                  rows, curves);
}

void MatchPage::addCapability(HtmlPage& page, const Trend& trend) const {
    if (profiles_ < kFewestOfChart)
        return;
    QList<ValueSeries> all;
    QList<QStringList> charts;
    for (const Series& series : trend.series) {
        std::vector<int> places;
        all.append(measuredOf(series, places));
        const ControlChart chart = chartOf(series);
        const bool isThere = std::isfinite(chart.centre);
        charts.append(
            {series.name, series.unit, numberOr(chart.lower), numberOr(chart.centre), numberOr(chart.upper),
             QString::number(chart.findings.size()),
             isThere ? findingsText(chart, names_) : QString("fewer than two values, or equal ones")});
    }
    QList<QStringList> rows = seriesRows(all);
    QStringList head = rows.takeFirst() << "reason";
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const QString reason = capability(all[i].values, all[i].limits).reason;
        rows[i].append(!trend.series[i].hasTolerance ? "no tolerance" : reason);
    }
    page.addTable("Capability", head, rows);
    page.addTable("Control charts of single values",
                  {"value", "unit", "lower control limit", "centre", "upper control limit", "signals",
                   "which, by the first profiles"},
                  charts);
}

void MatchPage::addPlots(HtmlPage& page, const Trend& trend) const {
    if (profiles_ < 2)
        return;
    bool ascends = true;
    for (std::size_t i = 0; i < trend.z.size(); ++i)
        ascends = ascends && std::isfinite(trend.z[i]) && (i == 0 || trend.z[i] > trend.z[i - 1]);
    std::vector<double> places = trend.z;
    for (std::size_t i = 0; i < places.size() && !ascends; ++i)
        places[i] = static_cast<double>(i + 1);
    QList<PlottedSeries> plotted;
    for (const Series& series : trend.series)
        plotted.append({series.name, series.unit, series.values,
                        series.hasTolerance ? series.tolerance.least() : kNaN,
                        series.hasTolerance ? series.tolerance.greatest() : kNaN,
                        profiles_ < kFewestOfChart ? ControlChart() : chartOf(series)});
    page.addPlots(ascends ? "z, mm" : "profile", places, names_, plotted);
}

QJsonObject MatchPage::results() const {
    const QByteArray start = leavesProfilesOut_ ? QByteArray("{\"profiles\": [") : profilesJson_;
    QJsonObject object = QJsonDocument::fromJson(start + summaryJson_).object();
    if (leavesProfilesOut_)
        object["profilesLeftOut"] = profiles_;
    return object;
}

void MatchPage::addVerdict(HtmlPage& page) const {
    const bool isGood = good_ == profiles_ && profiles_ > 0;
    if (profiles_ == 0)
        page.setVerdict(HtmlPage::Bad, "NOT GOOD: no profile was measured");
    else if (!isGood)
        page.setVerdict(HtmlPage::Bad, filledIn("NOT GOOD: %1 of %2 profiles", profiles_ - good_, profiles_) +
                                           (plan_.hasTemplate() && found_ < profiles_
                                                ? filledIn("; the template is not in %1", profiles_ - found_)
                                                : QString()));
    else if (plan_.tolerances.isEmpty())
        page.setVerdict(
            HtmlPage::NotJudged,
            filledIn("COMPLETE: all values of %1 profile(s) are measured; no limits were given", profiles_));
    else
        page.setVerdict(HtmlPage::Good, filledIn("GOOD: %1 of %1 profiles", profiles_));
}

QByteArray MatchPage::html() {
    isSummary_ = true;
    report_.finish();
    const Trend trend = report_.trend();
    HtmlPage page(plan_.name.isEmpty() ? QString("Measurement") : plan_.name);
    addVerdict(page);
    page.addFact("made", QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss"));
    for (const QStringList& fact : facts_)
        page.addFact(fact[0], fact[1]);
    page.addFact("good means", plan_.tolerances.isEmpty() ? QString()
                               : plan_.decision == Decision::Simple
                                   ? QString("within the limits")
                                   : QString("at least U within the limits"));
    if (profiles_ == 1)
        addValues(page);
    else
        addStatistics(page, trend);
    addPlots(page, trend);
    scan_.addTo(page, first_.name.left(first_.name.lastIndexOf('#')));
    addCapability(page, trend);
    addPictures(page);
    if (profiles_ > 1)
        addProfiles(page);
    page.setResults(results());
    return page.html();
}

}  // namespace KvMeasure
