#include "cli/wheels/pass_report.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/wheels/post.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

WheelPicture wheelPictureOf(const MeasuredSection& section, const WheelsetResult& wheelset,
                            const std::vector<LimitVerdict>& verdicts) {
    const WheelResult& wheel = wheelset.wheels[section.side];
    WheelPicture picture = pictureOf(wheel, section);
    picture.title = filledIn("Wheelset %1, %2 wheel", section.wheelset, sideName(section.side));
    picture.subtitle = QString("record %1").arg(wheel.record);
    if (!std::isnan(wheelset.z))
        picture.subtitle +=
            QString(", %1 m of travel").arg(static_cast<double>(wheelset.z) / 1000, 0, 'f', 2);
    picture.hasDefect = wheel.defect > 0;
    picture.defect = section.defect;
    picture.isDefectInSection =
        section.defect.scanner == middleScanner(section.side) && section.defect.record == wheel.record;
    picture.verdicts = verdicts;
    return picture;
}

QList<int> readAxles(const Arguments& arguments, const char* option) {
    constexpr int kMost = 100;
    QList<int> axles;
    for (const QString& word : arguments.text(option).split(',')) {
        bool isNumber = false;
        const int number = word.trimmed().toInt(&isNumber);
        if (arguments.has(option) && (!isNumber || number < 1 || number > kMost))
            throw Error(filledIn("wheels pass: %1 \"%2\": expected whole numbers from 1 to %3 with commas",
                                 option, arguments.text(option), kMost));
        if (isNumber)
            axles.append(number);
    }
    return axles;
}

Option passReportOption() {
    return {"--report", "PAGE", "write a page with verdict, wheels by axle, trends, the worst wheels"};
}

PassReport::PassReport(const Arguments& arguments) {
    if (!arguments.has("--report"))
        return;
    const QString path = arguments.text("--report");
    refuseOverwriting({path},
                      arguments.operands() + arguments.texts("--settings") + arguments.texts("--limits"));
    file_.emplace(path);
    const QString name = QFileInfo(QDir(arguments.operands().first()).absolutePath()).fileName();
    page_.emplace("Train pass " + name);
    page_->addFact("limits", arguments.text("--limits"));
}

void PassReport::add(const MeasuredSection& section, const WheelsetResult& wheelset,
                     const std::vector<LimitVerdict>& verdicts) {
    if (!page_)
        return;
    const QString verdict = overallVerdict(verdicts);
    const WheelResult& wheel = wheelset.wheels[section.side];
    QStringList words;
    if (wheel.defect > 0)
        words.append("DEFECT");
    if (!verdict.isEmpty())
        words.append(verdict);
    words += wheel.notes;
    const QString caption = filledIn("Wheelset %1, %2 wheel", section.wheelset, sideName(section.side)) +
                            (words.isEmpty() ? QString() : ": " + words.join("; "));
    page_->add(wheel, verdict, caption,
               [&] { return drawWheel(wheelPictureOf(section, wheelset, verdicts)); });
}

void PassReport::write(const QJsonObject& results) {
    if (!page_)
        return;
    file_->write(page_->html(results));
}

}  // namespace KvMeasure
