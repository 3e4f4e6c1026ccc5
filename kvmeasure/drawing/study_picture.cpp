// Bars of the components and the readings by part, side by side. A gauge that is good has low bars for GRR,
// and readings of each part close together compared with the parts. One pass over the readings to sort them
// into parts and appraisers.

#include <kvmeasure/drawing/study_picture.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/drawing/axes_p.h>

#include <QtCore/QMap>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

namespace {

constexpr double kLeft = 84;  // pixels
constexpr double kTop = 104;
constexpr double kHeight = 400;
constexpr double kBarsWidth = 400;
constexpr double kReadingsLeft = kLeft + kBarsWidth + 110;
constexpr double kReadingsWidth = 620;
constexpr double kRight = 24;
constexpr double kBottom = 64;
constexpr int kMostParts = 200;
constexpr int kMostColours = 8;
const char* const kColours[kMostColours] = {"#0072B2", "#D55E00", "#009E73", "#CC79A7",
                                            "#E69F00", "#56B4E9", "#7B5B00", "#444444"};
const QString kShareColour = "#0072B2";
const QString kToleranceColour = "#E69F00";
const QString kLimitColour = "#C1121F";
const QString kSmall = "font-size=\"12\" fill=\"#333\"";

struct Component {
    QString name;
    double value = 0;
};

std::vector<Component> componentsOf(const GaugeStudy& study) {
    std::vector<Component> components{{"repeatability", study.ev}, {"reproducibility", study.av}};
    if (study.interaction > 0)
        components.push_back({"interaction", study.interaction});
    components.push_back({"gauge (GRR)", study.grr});
    components.push_back({"parts", study.pv});
    return components;
}

/// Bars in percent.
class Bars {
public:
    Bars(Canvas& canvas, const StudyPicture& picture)
        : canvas_(canvas), study_(picture.study), tolerance_(picture.tolerance),
          components_(componentsOf(picture.study)) {
        for (const Component& component : components_)
            highest_ = std::max({highest_, share(component), ofTolerance(component)});
    }
    void paint();

private:
    static double finite(double value) { return std::isfinite(value) ? value : 0; }
    double share(const Component& component) const {
        return study_.tv > 0 ? finite(100 * component.value / study_.tv) : 0;
    }
    double ofTolerance(const Component& component) const {
        constexpr double kDeviations = 6;
        return finite(100 * kDeviations * component.value / tolerance_);
    }
    double pixel(double percent) const { return kTop + kHeight * (1 - percent / (highest_ * 1.08)); }
    void drawScale();
    void drawBar(double left, double width, double percent, const QString& colour);

    Canvas& canvas_;
    const GaugeStudy& study_;
    double tolerance_;
    std::vector<Component> components_;
    double highest_ = 100;
};

void Bars::drawScale() {
    const Rect area{kLeft, kTop, kLeft + kBarsWidth, kTop + kHeight};
    const Ticks ticks = ticksWithin(0, highest_ * 1.08, 8);
    for (const double value : ticks.values) {
        const double y = pixel(value);
        canvas_.line({area.left, y}, {area.right, y}, stroke("#000", 1, "stroke-opacity=\"0.08\""));
        canvas_.text({area.left - 8, y + 4.5}, ticks.text(value), "text-anchor=\"end\" fill=\"#333\"");
    }
    for (const double limit : {10.0, 30.0})
        canvas_.line({area.left, pixel(limit)}, {area.right, pixel(limit)},
                     stroke(kLimitColour, 1, "stroke-dasharray=\"6 4\""));
    canvas_.rect(area, "fill=\"none\" " + stroke("#333", 1));
    canvas_.raw(filledIn("<text transform=\"translate(22,%1) rotate(-90)\" text-anchor=\"middle\" "
                         "fill=\"#333\">percent</text>",
                         QString::number(kTop + kHeight / 2, 'f', 1)));
}

void Bars::drawBar(double left, double width, double percent, const QString& colour) {
    canvas_.rect({left, std::min(pixel(percent), pixel(0) - 0.5), left + width, pixel(0)},
                 QString("fill=\"%1\" fill-opacity=\"0.75\"").arg(colour));
    canvas_.text({left + width / 2, pixel(percent) - 4}, QString::number(percent, 'f', percent < 10 ? 1 : 0),
                 "font-size=\"11\" text-anchor=\"middle\" fill=\"#333\" stroke=\"#FFF\" "
                 "stroke-width=\"3\" paint-order=\"stroke\"");
}

void Bars::paint() {
    drawScale();
    const bool hasTolerance = std::isfinite(tolerance_);
    const double room = kBarsWidth / static_cast<double>(components_.size());
    for (std::size_t i = 0; i < components_.size(); ++i) {
        const double left = kLeft + room * (static_cast<double>(i) + 0.14);
        const double width = room * (hasTolerance ? 0.36 : 0.72);
        drawBar(left, width, share(components_[i]), kShareColour);
        if (hasTolerance)
            drawBar(left + width, width, ofTolerance(components_[i]), kToleranceColour);
        canvas_.text({kLeft + room * (static_cast<double>(i) + 0.5), kTop + kHeight + 20},
                     components_[i].name, "font-size=\"12\" text-anchor=\"middle\" fill=\"#333\"");
    }
    double x = kLeft;
    const auto explain = [&](const QString& colour, const QString& label) {
        canvas_.rect({x, kTop - 26, x + 16, kTop - 14},
                     QString("fill=\"%1\" fill-opacity=\"0.75\"").arg(colour));
        canvas_.text({x + 21, kTop - 15}, label, kSmall);
        x += 21 + textWidth(label, 12) + 14;
    };
    explain(kShareColour, "of the scatter of all");
    if (hasTolerance)
        explain(kToleranceColour, "6 deviations of the tolerance");
}

/// Readings by part, a colour for each appraiser.
class Readings {
public:
    Readings(Drawing& drawing, const StudyPicture& picture) : drawing_(drawing), picture_(picture) {
        for (const StudyReading& reading : picture.readings) {
            parts_.insert(reading.part, 0);
            appraisers_.insert(reading.appraiser, 0);
        }
        for (QMap<QString, int>* names : {&parts_, &appraisers_}) {
            int number = 0;
            for (int& place : *names)
                place = number++;
        }
    }
    int parts() const { return static_cast<int>(std::min<qint64>(parts_.size(), kMostParts)); }
    void paint();

private:
    void drawNames();
    void drawAppraiser(const QString& name, int number);

    Drawing& drawing_;
    const StudyPicture& picture_;
    QMap<QString, int> parts_, appraisers_;
};

void Readings::drawNames() {
    const Rect& area = drawing_.view.area;
    double reached = area.left - 40;
    for (auto it = parts_.constBegin(); it != parts_.constEnd() && it.value() < kMostParts; ++it) {
        const double x = drawing_.view.toPixel({it.value() + 1.0, 0}).x;
        const QString name = it.key().left(12);
        if (x - textWidth(name, 12) / 2 < reached + 4)
            continue;
        reached = x + textWidth(name, 12) / 2;
        drawing_.canvas.text({x, area.bottom + 20}, name,
                             "font-size=\"12\" text-anchor=\"middle\" fill=\"#333\"");
    }
    double x = area.left;
    for (auto it = appraisers_.constBegin(); it != appraisers_.constEnd() && it.value() < kMostColours;
         ++it) {
        const QString name = it.key().left(20);
        drawing_.canvas.circle({x + 6, area.top - 20}, 4, QString("fill=\"%1\"").arg(kColours[it.value()]));
        drawing_.canvas.text({x + 16, area.top - 15}, name, kSmall);
        x += 16 + textWidth(name, 12) + 16;
    }
    if (appraisers_.size() > kMostColours)
        drawing_.canvas.text({x, area.top - 15},
                             filledIn("and %1 more", static_cast<int>(appraisers_.size()) - kMostColours),
                             kSmall);
    if (parts_.size() > kMostParts)
        drawing_.canvas.text({area.right, area.bottom + 42},
                             filledIn("%1 more parts", static_cast<int>(parts_.size()) - kMostParts),
                             "text-anchor=\"end\" fill=\"#666\"");
}

void Readings::drawAppraiser(const QString& name, int number) {
    std::vector<double> sums(static_cast<std::size_t>(parts())), counts(sums.size());
    QList<Vector> dots;
    // Side by side, so that equal readings of two appraisers are both seen.
    const int columns = static_cast<int>(std::min<qint64>(appraisers_.size(), kMostColours));
    const double aside = (number - (columns - 1) / 2.0) * 0.5 / columns;
    for (const StudyReading& reading : picture_.readings) {
        const int part = parts_.value(reading.part);
        if (reading.appraiser != name || part >= kMostParts)
            continue;
        sums[static_cast<std::size_t>(part)] += reading.value;
        counts[static_cast<std::size_t>(part)] += 1;
        dots.append({part + 1 + aside, reading.value});
    }
    QList<Vector> means;
    for (int part = 0; part < parts(); ++part) {
        const auto i = static_cast<std::size_t>(part);
        if (counts[i] > 0)
            means.append(drawing_.view.toPixel({part + 1 + aside, sums[i] / counts[i]}));
    }
    const QString colour = kColours[number];
    drawing_.canvas.polyline(means, stroke(colour, 1.2, "stroke-opacity=\"0.6\""));
    drawDots(drawing_, dots, colour, 4);
}

void Readings::paint() {
    drawTicks(drawing_.canvas, drawing_.view, /*alongX=*/false);
    drawing_.canvas.rect(drawing_.view.area, "fill=\"none\" " + stroke("#333", 1));
    drawNames();
    for (auto it = appraisers_.constBegin(); it != appraisers_.constEnd() && it.value() < kMostColours; ++it)
        drawAppraiser(it.key(), it.value());
    drawing_.canvas.text(
        {(drawing_.view.area.left + drawing_.view.area.right) / 2, drawing_.view.area.bottom + 42}, "part",
        "text-anchor=\"middle\" fill=\"#333\"");
    drawing_.canvas.raw(filledIn("<text transform=\"translate(%1,%2) rotate(-90)\" text-anchor=\"middle\" "
                                 "fill=\"#333\">%3</text>",
                                 QString::number(kReadingsLeft - 74, 'f', 1),
                                 QString::number(kTop + kHeight / 2, 'f', 1),
                                 picture_.upward.toHtmlEscaped()));
}

Projection readingsView(const StudyPicture& picture) {
    double low = 0, high = 0;
    if (!picture.readings.empty()) {
        const auto ends = std::minmax_element(
            picture.readings.begin(), picture.readings.end(),
            [](const StudyReading& a, const StudyReading& b) { return a.value < b.value; });
        low = ends.first->value;
        high = ends.second->value;
    }
    constexpr double kRoom = 0.06;
    const double height = high > low ? high - low : std::max(1e-9, 1e-6 * std::fabs(high));
    Projection view;
    view.area = {kReadingsLeft, kTop, kReadingsLeft + kReadingsWidth, kTop + kHeight};
    view.origin = {0.3, low - kRoom * height};
    view.scaleY = kHeight / (height * (1 + 2 * kRoom));
    return view;
}

}  // namespace

QByteArray drawStudy(const StudyPicture& picture) {
    Projection view = readingsView(picture);
    Drawing drawing(view);
    Readings readings(drawing, picture);
    drawing.view.scaleX = kReadingsWidth / (std::max(1, readings.parts()) + 0.4);
    if (picture.study.reason.isEmpty())
        Bars(drawing.canvas, picture).paint();
    else
        drawing.canvas.text({kLeft, kTop + 20}, "no result", "fill=\"#C1121F\"");
    readings.paint();
    drawing.canvas.text({kLeft, 32}, picture.title, "font-size=\"20\" font-weight=\"bold\" fill=\"#111\"");
    drawing.canvas.text({kLeft, 56}, picture.subtitle, "fill=\"#555\"");
    return drawing.canvas.document(kReadingsLeft + kReadingsWidth + kRight, kTop + kHeight + kBottom);
}

}  // namespace KvMeasure
