#pragma once
// A page for reading and printing that needs nothing but itself: no network, no other file.
//
//     HtmlPage page("Groove in a plate");
//     page.setVerdict(HtmlPage::Good, "12 of 12 profiles are good");
//     page.addTable("Results", {"name", "value"}, {{"depth", "5.002"}});
//     page.setResults(json);
//     writeOutputFile("page.html", page.html());

#include <kvmeasure/base/global.h>
#include <kvmeasure/report/cloud_sample.h>
#include <kvmeasure/statistics/control_chart.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <limits>
#include <vector>

namespace KvMeasure {

/// A series of values that the page shows as a trend and a histogram.
struct PlottedSeries {
    QString name;                                             ///< of the value
    QString unit;                                             ///< may be empty
    std::vector<double> values;                               ///< one per place; NaN: there is none
    double lower = std::numeric_limits<double>::quiet_NaN();  ///< limit; infinite or NaN: none
    double upper = std::numeric_limits<double>::quiet_NaN();  ///< likewise
    ControlChart chart = {};  ///< control limits; findings by the index of the value; default: none
};

/// A page in HTML 5. All texts are taken as they are: what is HTML in them is shown, never executed, and the
/// page forbids its browser to fetch anything. Verdicts stand in words and signs beside their colours. Light
/// and dark, wide and narrow screens, and paper, on which closed parts are open and every plot is drawn.
class KVMEASURE_EXPORT HtmlPage {
public:
    /// What a verdict says: good, not good, or measured without being judged.
    enum Verdict { Good, Bad, NotJudged };

    static constexpr int kMostClouds = 4;            ///< of a page
    static constexpr int kLargestPlots = 1'500'000;  ///< bytes of the values of plots

    /// The title stands on top; an empty one: "Results".
    explicit HtmlPage(const QString& title);

    /// Appends a line "what: value" below the title; nothing where the value is empty.
    void addFact(const QString& what, const QString& value);
    /// The verdict, first of all; a second call takes the place of the first.
    void setVerdict(Verdict verdict, const QString& text);
    /// Appends a table. Rows may have fewer cells than the heading, those after it are left out. Cells that
    /// begin with "OUT", "NOT" or "DEFECT" are marked as bad, "good" as good. `curves`: a small curve after
    /// each row of its values, NaN where there is none; empty: no such column. An empty heading: no table; an
    /// empty caption: the table without one.
    void addTable(const QString& caption, const QStringList& head, const QList<QStringList>& rows,
                  const QList<std::vector<double>>& curves = {});
    /// Appends an SVG document as drawn by the functions of <kvmeasure/drawing/...>; nothing for an empty
    /// one.
    void addPicture(const QString& caption, const QByteArray& svg);
    /// Appends a cloud that the reader turns and enlarges, with the pointer or the keyboard, coloured by
    /// height; of more points than the sample holds the page says so. Returns false, and appends nothing, for
    /// a sample without points, for more than kMostClouds, and where there is no three.js, which Debian's
    /// package libjs-three brings.
    bool addCloud(const QString& caption, const CloudSample& sample);
    /// Appends a heading; nothing for an empty one.
    void addHeading(const QString& text);
    /// Begins a part that the reader opens and closes by its summary, with the pointer or the keyboard. All
    /// that is appended before endDetails() is in it. Parts do not lie in one another.
    void startDetails(const QString& summary, bool isOpen);
    void endDetails();  ///< ends that part
    /// Appends a paragraph; nothing for an empty one.
    void addText(const QString& text);
    /// Appends the plot of one of these series over the places, which the reader chooses: values under the
    /// pointer, zoom by dragging or by keys, from five values on the histogram beside it. `places`: where the
    /// values are, one for each, ascending; `names`: of the places, may be empty. Without dygraphs, which
    /// Debian's package libjs-dygraphs brings, the plot neither zooms nor tells values. Of a control chart
    /// the first 200 findings are marked. Series with another number of values are left out, and those after
    /// kLargestPlots, which the page says; without any there is no plot. Once a page: a second call appends
    /// nothing.
    void addPlots(const QString& along, const std::vector<double>& places, const QStringList& names,
                  const QList<PlottedSeries>& series, bool hasHistogram = true);
    /// The results as data: the content of the script element with the id "results".
    void setResults(const QJsonObject& results);

    /// The page, UTF-8.
    QByteArray html() const;

private:
    QString title_;
    QByteArray facts_, verdict_, body_, plots_, results_;
    int clouds_ = 0;
};

}  // namespace KvMeasure
