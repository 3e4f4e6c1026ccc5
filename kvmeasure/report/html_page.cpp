// One file in HTML 5: styles, scripts, plots' data, results and pictures stand in it. Pictures are images of
// their own, so that no name in one meets a name in another. The libraries for plots and clouds are read from
// the system when the page is made; without them the page has the same values. A policy in its head keeps the
// browser from loading anything from elsewhere, whatever the page holds.

#include <kvmeasure/report/html_page.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/raster_picture_p.h>
#include <kvmeasure/report/json.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <array>
#include <cmath>

#include "page_assets.inc"  // made by CMake from page_style.css and the scripts

namespace KvMeasure {

namespace {

QByteArray escaped(const QString& text) { return text.toHtmlEscaped().toUtf8(); }

/// Data for a script element: no "<" ends it.
QByteArray scriptData(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace('<', "\\u003c");
}

QByteArray paragraph(const char* element, const QByteArray& content) {
    return QByteArray("<") + element + ">" + content + "</" + element + ">\n";
}

const char* const kPlotStyle = "dygraphs/dygraph.min.css";
const char* const kPlotScript = "dygraphs/dygraph.min.js";
const char* const kCloudScript = "three/three.min.js";

/// A file of a library that the system brings; empty without it, and for one that would end its own element.
QByteArray libraryFile(const char* name) {
    constexpr qint64 kLargest = 1 << 21;
    QFile file(QString("/usr/share/javascript/") + name);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kLargest)
        return {};
    const QByteArray content = file.readAll();
    return content.contains("</script") || content.contains("</style") ? QByteArray() : content;
}

/// A number, with its U too, or what stands for a missing one.
bool isNumber(const QString& text) {
    double number = 0;
    return text == "-" || parseNumber(text.section(QString(" \u00b1 "), 0, 0), number);
}

QByteArray cell(const QString& text) {
    constexpr int kLong = 40;  // letters from which on a cell may have several lines
    QByteArray kind;
    if (isNumber(text))
        kind = " class=\"number\"";
    else if (text.startsWith("OUT") || text.startsWith("NOT") || text.startsWith("DEFECT"))
        kind = text.size() > kLong ? " class=\"bad long\"" : " class=\"bad\"";
    else if (text == "good")
        kind = " class=\"good\"";
    else if (text.size() > kLong)
        kind = " class=\"long\"";
    return "<td" + kind + ">" + escaped(text) + "</td>";
}

/// The head of a column; over numbers at their side.
QByteArray headCell(const QString& name, const QString& first) {
    return QByteArray("<th scope=\"col\"") + (isNumber(first) ? " class=\"number\"" : "") + ">" +
           escaped(name) + "</th>";
}

/// A curve of at most 60 points; nothing below two values.
QByteArray curve(const std::vector<double>& values) {
    constexpr std::size_t kMost = 60;
    std::vector<double> set;
    for (const double value : values) {
        if (std::isfinite(value))
            set.push_back(value);
    }
    if (set.size() < 2)
        return {};
    const auto [least, greatest] = std::minmax_element(set.begin(), set.end());
    const double from = *least, size = *greatest > from ? *greatest - from : 1;
    const std::size_t stride = (set.size() + kMost - 1) / kMost;
    QByteArray path;
    for (std::size_t i = 0; i < set.size(); i += stride) {
        path += path.isEmpty() ? "M" : "L";
        path += QByteArray::number(2 + 86 * double(i) / double(set.size() - 1), 'f', 1) + ' ' +
                QByteArray::number(20 - 18 * (set[i] - from) / size, 'f', 1);
    }
    return "<svg class=\"spark\" viewBox=\"0 0 90 22\" aria-hidden=\"true\"><path d=\"" + path + "\"/></svg>";
}

QByteArray scriptElement(const QByteArray& content) {
    return content.isEmpty() ? content : "<script>\n" + content + "</script>\n";
}

/// Seven digits, as the plot shows them.
QJsonArray shortNumbers(const std::vector<double>& values) {
    QJsonArray array;
    for (const double value : values)
        array.append(std::isfinite(value) ? QJsonValue(QString::number(value, 'g', 7).toDouble())
                                          : QJsonValue());
    return array;
}

QJsonObject plotted(const PlottedSeries& series) {
    constexpr int kMostFindings = 200;
    QJsonArray findings;
    for (const ChartSignal& finding : series.chart.findings) {
        if (findings.size() < kMostFindings)
            findings.append(QJsonArray{finding.index, finding.rule});
    }
    return {{"name", series.name},
            {"unit", series.unit},
            {"lower", jsonNumber(series.lower)},
            {"upper", jsonNumber(series.upper)},
            {"centre", jsonNumber(series.chart.centre)},
            {"control", QJsonArray{jsonNumber(series.chart.lower), jsonNumber(series.chart.upper)}},
            {"findings", findings},
            {"values", shortNumbers(series.values)}};
}

/// Least, lowest and nearest, and how far the points reach from there: x, height, along the scan, mm.
struct CloudBox {
    std::array<double, 3> least, size;
};

std::array<double, 3> placeOf(const CloudSample::Point& point) {
    return {double(point.x), double(point.height), double(point.scan)};
}

CloudBox boxOf(const std::vector<CloudSample::Point>& points) {
    CloudBox box{placeOf(points.front()), {}};
    std::array<double, 3> most = box.least;
    for (const CloudSample::Point& point : points) {
        const auto place = placeOf(point);
        for (std::size_t i = 0; i < place.size(); ++i) {
            box.least[i] = std::min(box.least[i], place[i]);
            most[i] = std::max(most[i], place[i]);
        }
    }
    for (std::size_t i = 0; i < most.size(); ++i)
        box.size[i] = most[i] - box.least[i];
    return box;
}

/// The heights that all but a few points lie between, as parts of the box: stray points do not take colours.
std::array<double, 2> colourEnds(const std::vector<CloudSample::Point>& points, const CloudBox& box) {
    std::vector<float> heights;
    heights.reserve(points.size());
    for (const CloudSample::Point& point : points)
        heights.push_back(point.height);
    std::sort(heights.begin(), heights.end());
    const std::size_t few = heights.size() / 200;
    const auto part = [&box](float height) {
        return box.size[1] > 0 ? (double(height) - box.least[1]) / box.size[1] : 0.0;
    };
    return {part(heights[few]), part(heights[heights.size() - 1 - few])};
}

/// What the script of clouds reads: places in 16 bits each, as parts of the box.
QByteArray cloudData(const std::vector<CloudSample::Point>& points, const CloudBox& box,
                     const std::array<double, 2>& ends) {
    constexpr int kColours = 64;
    constexpr double kMost = 65535;
    QByteArray bytes;
    for (const CloudSample::Point& point : points) {
        const auto place = placeOf(point);
        for (std::size_t i = 0; i < place.size(); ++i) {
            const double part = box.size[i] > 0 ? (place[i] - box.least[i]) / box.size[i] : 0;
            const auto whole = static_cast<unsigned>(std::lround(part * kMost));
            bytes += static_cast<char>(whole & 0xFFU);
            bytes += static_cast<char>(whole >> 8U);
        }
    }
    QJsonArray colours;
    for (int i = 0; i < kColours; ++i)
        colours.append(
            QString("%1").arg(colourOf(ColourScale(), double(i) / (kColours - 1)), 6, 16, QChar('0')));
    return scriptData({{"size", QJsonArray{box.size[0], box.size[1], box.size[2]}},
                       {"colourFrom", ends[0]},
                       {"colourTo", ends[1]},
                       {"colours", colours},
                       {"points", QString::fromLatin1(bytes.toBase64())}});
}

/// What stands below a cloud.
QString cloudText(const CloudSample& sample, const CloudBox& box, const std::array<double, 2>& ends) {
    const auto range = [&box](std::size_t i) {
        return filledIn("%1 to %2 mm", mm(box.least[i]), mm(box.least[i] + box.size[i]));
    };
    const auto height = [&box](double part) { return mm(box.least[1] + part * box.size[1]); };
    const qint64 drawn = static_cast<qint64>(sample.points().size());
    return filledIn("%1; x %2, scan %3, height %4; colours from dark, %5 mm, to bright, %6 mm",
                    drawn < sample.total()
                        ? filledIn("%1 of %2 points, taken by chance", drawn, sample.total())
                        : filledIn("%1 points", drawn),
                    range(0), range(2), range(1), height(ends[0]), height(ends[1]));
}

}  // namespace

HtmlPage::HtmlPage(const QString& title) : title_(title.isEmpty() ? QString("Results") : title) {}

void HtmlPage::addFact(const QString& what, const QString& value) {
    if (!value.isEmpty())
        facts_ += "<dt>" + escaped(what) + "</dt><dd>" + escaped(value) + "</dd>\n";
}

void HtmlPage::setVerdict(Verdict verdict, const QString& text) {
    const QByteArray kind = verdict == Good ? "good" : verdict == Bad ? "bad" : "open";
    const QByteArray sign = verdict == Good ? "&#10003; " : verdict == Bad ? "&#10007; " : "&#9675; ";
    verdict_ = "<p id=\"verdict\" class=\"verdict " + kind + "\">" + sign + escaped(text) + "</p>\n";
}

void HtmlPage::addTable(const QString& caption, const QStringList& head, const QList<QStringList>& rows,
                        const QList<std::vector<double>>& curves) {
    if (head.isEmpty())
        return;
    addHeading(caption);
    body_ += "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" +
             escaped(caption.isEmpty() ? QString("Table") : caption) + "\"><table>\n<thead><tr>";
    for (int i = 0; i < static_cast<int>(head.size()); ++i)
        body_ += headCell(head[i], rows.value(0).value(i));
    if (!curves.isEmpty())
        body_ += "<th scope=\"col\">trend</th>";
    body_ += "</tr></thead>\n<tbody>\n";
    for (int row = 0; row < static_cast<int>(rows.size()); ++row) {
        body_ += "<tr>";
        for (int i = 0; i < static_cast<int>(head.size()); ++i)
            body_ += cell(rows[row].value(i));
        if (!curves.isEmpty())
            body_ += "<td>" + curve(curves.value(row)) + "</td>";
        body_ += "</tr>\n";
    }
    body_ += "</tbody></table></div>\n";
}

void HtmlPage::addPicture(const QString& caption, const QByteArray& svg) {
    if (svg.isEmpty())
        return;
    body_ += "<figure><img alt=\"" + escaped(caption) + "\" src=\"data:image/svg+xml;base64," +
             svg.toBase64() + "\"><figcaption>" + escaped(caption) + "</figcaption></figure>\n";
}

bool HtmlPage::addCloud(const QString& caption, const CloudSample& sample) {
    if (sample.points().empty() || clouds_ >= kMostClouds || libraryFile(kCloudScript).isEmpty())
        return false;
    ++clouds_;
    const CloudBox box = boxOf(sample.points());
    const auto ends = colourEnds(sample.points(), box);
    body_ +=
        "<figure class=\"turnable\"><div class=\"cloud\" tabindex=\"0\" role=\"application\" aria-label=\"" +
        escaped(filledIn("Cloud of %1: arrow keys turn it, + and - enlarge it", caption)) +
        "\"><canvas></canvas></div>\n<p class=\"with\"><button type=\"button\" "
        "data-key=\"+\">Larger</button> "
        "<button type=\"button\" data-key=\"-\">Smaller</button> "
        "<button type=\"button\" data-key=\"Home\">As before</button> "
        "Drag, or press the arrow keys, to turn.</p>\n"
        "<p class=\"without\" hidden>This browser cannot draw the cloud: it has no WebGL.</p>\n"
        "<figcaption>" +
        escaped(caption + ": " + cloudText(sample, box, ends)) +
        "</figcaption>\n<script type=\"application/json\">" + cloudData(sample.points(), box, ends) +
        "</script></figure>\n";
    return true;
}

void HtmlPage::addHeading(const QString& text) {
    if (!text.isEmpty())
        body_ += paragraph("h2", escaped(text));
}

void HtmlPage::startDetails(const QString& summary, bool isOpen) {
    body_ +=
        QByteArray("<details") + (isOpen ? " open" : "") + "><summary>" + escaped(summary) + "</summary>\n";
}

void HtmlPage::endDetails() { body_ += "</details>\n"; }

void HtmlPage::addText(const QString& text) {
    if (!text.isEmpty())
        body_ += paragraph("p", escaped(text));
}

void HtmlPage::addPlots(const QString& along, const std::vector<double>& places, const QStringList& names,
                        const QList<PlottedSeries>& series, bool hasHistogram) {
    QJsonArray all;
    bool hasCharts = false, hasLimits = false;
    qint64 size = 0;
    int more = 0;
    for (const PlottedSeries& one : series) {
        if (one.values.size() != places.size())
            continue;
        const QJsonObject data = plotted(one);
        size += QJsonDocument(data).toJson(QJsonDocument::Compact).size();
        if (!all.isEmpty() && size > kLargestPlots) {
            ++more;
            continue;
        }
        hasCharts = hasCharts || std::isfinite(one.chart.centre);
        hasLimits = hasLimits || std::isfinite(one.lower) || std::isfinite(one.upper);
        all.append(data);
    }
    if (all.isEmpty() || places.empty() || !plots_.isEmpty())
        return;
    QByteArray legend = hasLimits ? "Dashed lines: limits. " : "";
    if (hasCharts)
        legend += "Dotted lines: control limits; between them the centre. Rings: what breaks a rule of the "
                  "control chart. ";
    if (more > 0)
        legend += escaped(filledIn("%1 more values have no plot: there is no room for their points.", more));
    addHeading("Plot");
    body_ += "<p class=\"choice\"><label>Value <select id=\"choice\"></select></label> "
             "<button type=\"button\" id=\"whole\">Show all</button></p>\n"
             "<div class=\"plots\" id=\"screen\"><div id=\"trend\" tabindex=\"0\" role=\"application\" "
             "aria-label=\"Plot of the value: arrow keys step along it, + and - zoom, Home shows all\"></div>"
             "<div id=\"histogram\"></div></div>\n<p id=\"told\" aria-live=\"polite\"></p>\n" +
             (legend.isEmpty() ? legend : paragraph("p", legend)) + "<div id=\"paper\"></div>\n";
    plots_ = "<script type=\"application/json\" id=\"plots\">" +
             scriptData({{"along", along},
                         {"places", shortNumbers(places)},
                         {"names", QJsonArray::fromStringList(names)},
                         {"histogram", hasHistogram},
                         {"series", all}}) +
             "</script>\n";
}

void HtmlPage::setResults(const QJsonObject& results) { results_ = scriptData(results); }

QByteArray HtmlPage::html() const {
    QByteArray page =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
        "style-src 'unsafe-inline'; script-src 'unsafe-inline'; base-uri 'none'; form-action 'none'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        "<link rel=\"icon\" href=\"data:,\">\n";
    page += paragraph("title", escaped(title_));
    page += QByteArray("<style>\n") + (plots_.isEmpty() ? QByteArray() : libraryFile(kPlotStyle)) +
            Internal::kPageStyle + "</style>\n</head>\n<body>\n";
    page += verdict_ + paragraph("h1", escaped(title_));
    if (!facts_.isEmpty())
        page += paragraph("dl", '\n' + facts_);
    page += body_;
    if (!results_.isEmpty())
        page += "<script type=\"application/json\" id=\"results\">" + results_ + "</script>\n";
    page += plots_;
    if (!plots_.isEmpty())
        page += scriptElement(libraryFile(kPlotScript));
    page += scriptElement(Internal::kPageScript);
    if (clouds_ > 0)
        page += scriptElement(libraryFile(kCloudScript)) + scriptElement(Internal::kPageCloud);
    return page + "</body>\n</html>\n";
}

}  // namespace KvMeasure
