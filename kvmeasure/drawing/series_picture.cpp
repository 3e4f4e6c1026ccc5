// Run chart and histogram of one series, side by side over one height axis, so that limits run through both.
// The histogram has as many classes as the square root of the number of values, within bounds. One pass over
// the values for the chart, one for the histogram.

#include <kvmeasure/drawing/series_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 96;  // pixels
constexpr double kTop = 84;
constexpr double kAreaHeight = 420;
constexpr double kRunWidth = 640;
constexpr double kHistogramWidth = 240;
constexpr double kGap = 16;
constexpr double kLabels = 110;  // to the right
constexpr double kBottom = 64;
const QString valueColour = "#0072B2";
const QString limitColour = "#C1121F";
const QString controlColour = "#1B7F3B";

/// The range of all that is drawn.
Projection viewOf(const SeriesPicture& picture) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    const auto take = [&](double value) {
        if (!std::isfinite(value))
            return;
        low = std::min(low, value);
        high = std::max(high, value);
    };
    for (const double value : picture.values)
        take(value);
    for (const double value :
         {picture.limits.lower, picture.limits.upper, picture.chart.lower, picture.chart.upper})
        take(value);
    if (!(low <= high))
        low = high = 0;
    constexpr double kRoom = 0.06;
    const double height = high > low ? high - low : std::max(1e-9, 1e-6 * std::fabs(high));
    const double count = std::max(2.0, static_cast<double>(picture.values.size()));
    Projection view;
    view.area = {kLeft, kTop, kLeft + kRunWidth, kTop + kAreaHeight};
    view.origin = {0, low - kRoom * height};
    view.scaleX = kRunWidth / (count + 1);
    view.scaleY = kAreaHeight / (height * (1 + 2 * kRoom));
    return withRoomForNumbers(view);
}

void drawLevels(Drawing& drawing, const SeriesPicture& picture) {
    const Rect& area = drawing.view.area;
    const double right = area.right + kGap + kHistogramWidth;
    double lastText = -1e9;
    struct Level {
        double value;
        const char* name;
        QString colour, dashes;
    };
    std::vector<Level> levels{{picture.limits.upper, "upper limit", limitColour, ""},
                              {picture.limits.lower, "lower limit", limitColour, ""},
                              {picture.chart.upper, "mean + 3 s", controlColour, "stroke-dasharray=\"6 4\""},
                              {picture.chart.centre, "mean", controlColour, ""},
                              {picture.chart.lower, "mean - 3 s", controlColour, "stroke-dasharray=\"6 4\""}};
    levels.erase(std::remove_if(levels.begin(), levels.end(),
                                [](const Level& level) { return !std::isfinite(level.value); }),
                 levels.end());
    std::sort(levels.begin(), levels.end(), [](const Level& a, const Level& b) { return a.value > b.value; });
    for (const Level& level : levels) {
        const double y = drawing.view.toPixel({0, level.value}).y;
        drawing.canvas.line({area.left, y}, {right, y}, stroke(level.colour, 1.3, level.dashes));
        constexpr double kLineHeight = 14;
        lastText = std::max(lastText + kLineHeight, y + 4);
        drawing.canvas.text({right + 6, lastText}, level.name,
                            QString("font-size=\"12\" fill=\"%1\"").arg(level.colour));
    }
}

void drawRun(Drawing& drawing, const SeriesPicture& picture) {
    QList<Vector> places, pixels;
    for (std::size_t i = 0; i < picture.values.size(); ++i)
        places.append({static_cast<double>(i + 1), picture.values[i]});
    constexpr int kMostJoined = 2000;
    if (places.size() <= kMostJoined) {
        for (const Vector& place : places)
            pixels.append(drawing.view.toPixel(place));
        drawing.canvas.polyline(pixels, stroke(valueColour, 0.8, "stroke-opacity=\"0.5\""));
    }
    drawDots(drawing, places, valueColour, 4);
    constexpr std::size_t kMostMarks = 200;
    for (std::size_t i = 0; i < std::min(kMostMarks, picture.chart.findings.size()); ++i) {
        const int index = picture.chart.findings[i].index;
        drawing.canvas.circle(drawing.view.toPixel(places[index]), 6,
                              "fill=\"none\" " + stroke(limitColour, 1.6));
    }
}

/// Classes by the square root of the count, along the same axis as the run chart.
void drawHistogram(Drawing& drawing, const SeriesPicture& picture) {
    if (picture.values.empty())
        return;
    const Rect& area = drawing.view.area;
    const auto ends = std::minmax_element(picture.values.begin(), picture.values.end());
    const double low = *ends.first, width = *ends.second - low;
    constexpr int kFewest = 5, kMost = 40;
    const int classes = std::clamp(
        static_cast<int>(std::lround(std::sqrt(static_cast<double>(picture.values.size())))), kFewest, kMost);
    std::vector<int> counts(static_cast<std::size_t>(classes), 0);
    for (const double value : picture.values) {
        const int place = width > 0 ? static_cast<int>((value - low) / width * classes) : 0;
        ++counts[static_cast<std::size_t>(std::clamp(place, 0, classes - 1))];
    }
    const int highest = *std::max_element(counts.begin(), counts.end());
    const double from = area.right + kGap;
    for (int i = 0; i < classes; ++i) {
        const double bar = kHistogramWidth * counts[static_cast<std::size_t>(i)] / highest;
        const double upper = drawing.view.toPixel({0, low + width * (i + 1) / classes}).y;
        const double lower = drawing.view.toPixel({0, low + width * i / classes}).y;
        drawing.canvas.rect({from, upper, from + bar, std::max(lower, upper + 1)},
                            QString("fill=\"%1\" fill-opacity=\"0.35\" ").arg(valueColour) +
                                stroke("#FFFFFF", 1));
    }
    drawing.canvas.rect({from, area.top, from + kHistogramWidth, area.bottom},
                        "fill=\"none\" " + stroke("#333", 1));
    drawing.canvas.text({from + kHistogramWidth / 2, area.bottom + 42},
                        filledIn("at most %1 in a class", highest), "text-anchor=\"middle\" fill=\"#333\"");
}

}  // namespace

QByteArray drawSeries(const SeriesPicture& picture) {
    Drawing drawing(viewOf(picture));
    const Rect& area = drawing.view.area;
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/true);
    drawTicks(drawing.canvas, drawing.view, /*alongX=*/false);
    drawHistogram(drawing, picture);
    drawLevels(drawing, picture);
    drawing.canvas.rect(area, "fill=\"none\" " + stroke("#333", 1));
    drawRun(drawing, picture);
    drawing.canvas.text({(area.left + area.right) / 2, area.bottom + 42}, "number of the value",
                        "text-anchor=\"middle\" fill=\"#333\"");
    drawing.canvas.raw(filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                                "fill=\"#333\">%2</text>",
                                QString::number((area.top + area.bottom) / 2, 'f', 1),
                                picture.upward.toHtmlEscaped()));
    drawing.canvas.text({area.left, 32}, picture.title,
                        "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    drawing.canvas.text({area.left, 56}, picture.subtitle, "fill=\"#555\"");
    return drawing.canvas.document(area.right + kGap + kHistogramWidth + kLabels, area.bottom + kBottom);
}

}  // namespace KvMeasure
