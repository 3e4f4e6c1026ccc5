// One file in HTML 5: styles, script, plots' data, results and pictures stand in it. Pictures are images of
// their own, so that no name in one meets a name in another. The plot library is read from the system when
// the page is made; without it the page has the same values.

#include <kvmeasure/report/html_page.h>

#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>

#include "page_assets.inc"  // made by CMake from page_style.css and page_script.js

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

/// A file of the plot library that the system brings; empty without it, and for one that would end its own
/// element.
QByteArray libraryFile(const QString& name) {
    constexpr qint64 kLargest = 1 << 20;
    QFile file("/usr/share/javascript/dygraphs/" + name);
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
        kind = " class=\"bad\"";
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

}  // namespace

HtmlPage::HtmlPage(const QString& title) : title_(title.isEmpty() ? QString("Results") : title) {}

void HtmlPage::addFact(const QString& what, const QString& value) {
    if (!value.isEmpty())
        facts_ += "<dt>" + escaped(what) + "</dt><dd>" + escaped(value) + "</dd>\n";
}

void HtmlPage::setVerdict(bool isGood, const QString& text) {
    const QByteArray kind = isGood ? "good" : "bad", sign = isGood ? "&#10003; " : "&#10007; ";
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

void HtmlPage::setPlots(const QString& along, const std::vector<double>& places, const QStringList& names,
                        const QList<PlottedSeries>& series) {
    QJsonArray all;
    bool hasCharts = false, hasLimits = false;
    for (const PlottedSeries& one : series) {
        if (one.values.size() != places.size())
            continue;
        hasCharts = hasCharts || std::isfinite(one.chart.centre);
        hasLimits = hasLimits || std::isfinite(one.lower) || std::isfinite(one.upper);
        all.append(plotted(one));
    }
    plots_.clear();
    if (all.isEmpty() || places.empty())
        return;
    legend_ = hasLimits ? "Dashed lines: limits. " : "";
    if (hasCharts)
        legend_ += "Dotted lines: control limits; between them the centre. Rings: what breaks a rule of the "
                   "control chart.";
    plots_ = "<script type=\"application/json\" id=\"plots\">" +
             scriptData({{"along", along},
                         {"places", shortNumbers(places)},
                         {"names", QJsonArray::fromStringList(names)},
                         {"series", all}}) +
             "</script>\n";
}

void HtmlPage::setResults(const QJsonObject& results) { results_ = scriptData(results); }

QByteArray HtmlPage::html() const {
    QByteArray page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                      "<link rel=\"icon\" href=\"data:,\">\n";
    page += paragraph("title", escaped(title_));
    page += QByteArray("<style>\n") + (plots_.isEmpty() ? "" : libraryFile("dygraph.min.css")) +
            Internal::kPageStyle + "</style>\n</head>\n<body>\n";
    page += verdict_ + paragraph("h1", escaped(title_));
    if (!facts_.isEmpty())
        page += paragraph("dl", '\n' + facts_);
    if (!plots_.isEmpty())
        page += "<h2>Values</h2>\n<p><label>Value <select id=\"choice\"></select></label></p>\n"
                "<div class=\"plots\"><div id=\"trend\"></div><div id=\"histogram\"></div></div>\n" +
                (legend_.isEmpty() ? legend_ : paragraph("p", legend_));
    page += body_;
    if (!results_.isEmpty())
        page += "<script type=\"application/json\" id=\"results\">" + results_ + "</script>\n";
    if (!plots_.isEmpty())
        page += plots_ + "<script>\n" + libraryFile("dygraph.min.js") + "\n</script>\n<script>\n" +
                Internal::kPageScript + "</script>\n";
    return page + "</body>\n</html>\n";
}

}  // namespace KvMeasure
