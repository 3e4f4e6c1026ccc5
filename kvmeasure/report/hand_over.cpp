#include <kvmeasure/report/hand_over.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/inspection/plan.h>
#include <kvmeasure/report/hand_over_p.h>

#include <QtCore/QDir>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

QList<Value> characteristicsOf(const InspectionPlan& plan) {
    QList<Value> all;
    for (const ValueName& name : valueNames(plan)) {
        Value value;
        value.name = name.name;
        value.unit = name.unit;
        value.hasTolerance = plan.tolerances.contains(name.name);
        value.tolerance = plan.tolerances.value(name.name);
        all.append(value);
    }
    return all;
}

namespace Internal {

QString lineOf(const QString& text, int length) {
    constexpr ushort kLastNoncharacters = 0xfffe;
    QString line = text;
    const int size = static_cast<int>(line.size());
    for (int i = 0; i < size; ++i) {
        const QChar c = line.at(i);
        if (c.isHighSurrogate() && i + 1 < size && line.at(i + 1).isLowSurrogate())
            ++i;
        else if (c.category() == QChar::Other_Control || c.isSurrogate() || c.unicode() >= kLastNoncharacters)
            line[i] = QChar(' ');
    }
    line = line.simplified();
    if (length > 0 && line.size() > length)
        line.truncate(line.at(length - 1).isHighSurrogate() ? length - 1 : length);
    return line;
}

Value valueOf(const HandedRun& run, const StoredPart& part, int characteristic) {
    Value value = run.characteristics[characteristic];
    value.reason = part.reason;
    if (part.values.size() == run.characteristics.size())
        value = part.values[characteristic];
    value.isValid = value.isValid && std::isfinite(value.value);
    return value;
}

CollectedText::CollectedText() {
    if (!file_.open())
        fail();
}

void CollectedText::add(const QByteArray& text) {
    isAscii_ = isAscii_ && std::all_of(text.begin(), text.end(),
                                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (file_.write(text) != text.size())
        fail();
}

void CollectedText::copyTo(OutputFile& file) {
    constexpr qint64 kBytes = 1 << 20;
    if (!file_.seek(0))  // which writes what is left
        fail();
    while (!file_.atEnd()) {
        const QByteArray piece = file_.read(kBytes);
        if (piece.isEmpty())
            fail();
        file.write(piece);
    }
}

void CollectedText::fail() const {
    throw Error(filledIn("%1: no temporary file can be written: %2; make room or set TMPDIR",
                         QDir::tempPath(), file_.errorString()));
}

}  // namespace Internal

}  // namespace KvMeasure
