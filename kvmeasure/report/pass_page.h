#pragma once
// The page on a train pass: verdict, wheels by axle, trends along the train, pictures of the worst wheels,
// results as data.
//
//     PassPage page("train");
//     pass.measureSections(options, [&](const MeasuredSection& section) {
//         const WheelsetResult& wheelset = pass.wheelsets().at(section.wheelset - 1);
//         page.add(wheelset.wheels[section.side], {}, caption, [&] { return drawWheel(picture); });
//     });
//     writeOutputFile("train.html", page.html(wheelJson(pass, {true, true, true})));

#include <kvmeasure/report/html_page.h>
#include <kvmeasure/wheels/values.h>

#include <functional>
#include <map>

namespace KvMeasure {

/// Collects the pictures of a pass while it is measured, and writes its page.
class KVMEASURE_EXPORT PassPage {
public:
    static constexpr int kMostPictures = 12;           ///< of the worst wheels
    static constexpr int kMostWheelsets = 500;         ///< in the table of wheels
    static constexpr int kLargestTable = 500'000;      ///< bytes of that table
    static constexpr int kLargestDetails = 1'000'000;  ///< bytes of the tables of single wheelsets
    static constexpr int kLargestResults = 2'500'000;  ///< bytes of JSON that the page holds in full

    /// The title of the page; an empty one: "Train pass".
    explicit PassPage(const QString& title) : title_(title.isEmpty() ? QString("Train pass") : title) {}

    /// Appends a line "what: value" below the title; nothing where the value is empty.
    void addFact(const QString& what, const QString& value);
    /// Counts a measured wheel. `verdict`: on its values, as overallVerdict gives it. `draw` gives its
    /// picture (SVG) and is called at once where the wheel is among the worst so far: a defect, out of its
    /// limits, something missing or noted, in this order.
    void add(const WheelResult& wheel, const QString& verdict, const QString& caption,
             const std::function<QByteArray()>& draw);
    /// The page on these results: the document of wheelJson with all columns, and with verdicts where limits
    /// are judged ("limits" and "verdict" of wheels, wheelsets, "vehicles", docs/formats.md). It is good
    /// where every wheel and wheelset is measured without notes and without a defect, no recording is
    /// damaged, and the verdict is none or good. Results beyond kLargestResults lose their recordings and
    /// wheelsets, which "wheelsetsLeftOut" counts.
    QByteArray html(const QJsonObject& results) const;

private:
    struct Drawn {
        QString caption;
        QByteArray svg;
    };

    QString title_;
    QList<QStringList> facts_;
    int wheels_ = 0;
    std::multimap<int, Drawn, std::greater<>> worst_;
};

}  // namespace KvMeasure
