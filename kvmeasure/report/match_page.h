#pragma once
// The page on what a match gives: verdict, statistics, plots, pictures of the worst profiles, results as
// data.
//
//     MatchPage page(plan, MatchReport::Json);
//     for (const MatchedProfile& profile : profiles)
//         page.add(profile, [&] { return drawPicture(pictureOf(profile)); });
//     writeOutputFile("page.html", page.html());

#include <kvmeasure/report/match_report.h>
#include <kvmeasure/report/scan_sketch.h>

#include <functional>
#include <map>

namespace KvMeasure {

/// Takes profile by profile. Memory: 8 bytes for each value and profile, the names, and at most 3 MB of
/// results.
class KVMEASURE_EXPORT MatchPage {
public:
    static constexpr int kMostPictures = 12;           ///< of the worst profiles
    static constexpr int kMostRows = 500;              ///< of profiles in the table
    static constexpr int kFewestOfChart = 21;          ///< profiles for capability and control charts
    static constexpr int kLargestResults = 3'000'000;  ///< bytes of JSON of profiles that the page holds

    /// The plan must outlive the page. `form`: Json or JsonValues, the form of the results as data.
    MatchPage(const InspectionPlan& plan, MatchReport::Form form);
    MatchPage(const MatchPage&) = delete;             ///< its report writes to this one
    MatchPage& operator=(const MatchPage&) = delete;  ///< likewise

    /// As MatchReport::setGivesStatistics; call it before the first profile.
    void setGivesStatistics(bool gives) { report_.setGivesStatistics(gives); }
    /// Appends a line "what: value" below the title; nothing where the value is empty.
    void addFact(const QString& what, const QString& value);
    /// Counts a profile. `draw` gives its picture (SVG) and is called at once where it is among the worst so
    /// far: not found, not measured, out of tolerance, near a limit, in this order; may be empty.
    void add(const MatchedProfile& profile, const std::function<QByteArray()>& draw);
    /// Takes the points of a profile of a scan, at its position, mm, for the cloud and the map of heights.
    void addLine(double position, const KvMath::KvProfile& profile) { scan_.add(position, profile); }
    /// The page. Results are the document of the report; where its profiles would take more than
    /// kLargestResults they are left out, and "profilesLeftOut" counts them. Call it once, after the last
    /// profile.
    QByteArray html();

private:
    struct Drawn {
        QString caption;
        QByteArray svg;
        bool isGood;
    };

    void addRow(const MatchedProfile& profile);
    void addProfiles(HtmlPage& page) const;
    void addPictures(HtmlPage& page) const;
    void addValues(HtmlPage& page) const;
    void addStatistics(HtmlPage& page, const Trend& trend) const;
    void addCapability(HtmlPage& page, const Trend& trend) const;
    void addPlots(HtmlPage& page, const Trend& trend) const;
    void addVerdict(HtmlPage& page) const;
    QJsonObject results() const;

    const InspectionPlan& plan_;
    MatchReport report_;
    QByteArray profilesJson_, summaryJson_;
    bool isSummary_ = false, leavesProfilesOut_ = false;
    int profiles_ = 0, found_ = 0, good_ = 0;
    QStringList names_;
    QList<QStringList> facts_;
    MatchedProfile first_;
    ScanSketch scan_;
    std::map<QString, double> greatestU_;
    QStringList head_;
    std::map<int, QStringList> goodRows_, badRows_;  ///< by their numbers
    std::multimap<double, Drawn, std::greater<>> worst_;
};

}  // namespace KvMeasure
