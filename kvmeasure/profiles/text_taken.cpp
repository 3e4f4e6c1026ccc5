// What info says of a text, in words and as JSON: every choice that the reader made, with its reason, so that
// a wrong one is seen before anything is measured.

#include <kvmeasure/base/error.h>
#include <kvmeasure/profiles/text_taken.h>

#include <kvmeasure/base/filled_in.h>

#include <QtCore/QJsonArray>

namespace KvMeasure {

namespace {

QString separatorName(char separator) {
    switch (separator) {
    case ';':
        return "semicolons";
    case '\t':
        return "tabs";
    case ',':
        return "commas";
    default:
        return "blanks";
    }
}

QString markName(const DecimalMarks& marks) {
    if (marks.point && marks.comma)
        return "points and commas";
    return marks.comma ? "commas" : marks.point ? "points" : "none";
}

QString columnText(const TextProfiles& text, int column, const LengthUnit& unit) {
    QString name = QString("column %1").arg(column + 1);
    if (column < text.head.columns.size() && !text.head.columns[column].text.isEmpty())
        name += " \"" + shown(text.head.columns[column].text.toUtf8()) + '"';
    return name + " in " + unit.name;
}

/// "line 3 (heading), lines 20 to 22 (text below the rows)"
QString passedOverText(const QList<PassedOver>& passedOver) {
    QStringList texts;
    constexpr int kMost = 8;
    for (const PassedOver& part : passedOver.mid(0, kMost)) {
        const QString lines = part.from == part.to ? QString("line %1").arg(part.from)
                                                   : filledIn("lines %1 to %2", part.from, part.to);
        texts.append(lines + " (" + part.what + ')');
    }
    return texts.join(", ") + (passedOver.size() > kMost ? ", ..." : "");
}

QStringList unsetTexts(const TextOptions& options) {
    QStringList texts;
    for (const double value : options.unset.values)
        texts.append(QString::number(value, 'g', 10));
    return texts;
}

QJsonValue columnJson(const TextProfiles& text, int column, const LengthUnit& unit) {
    if (column < 0)
        return {};
    QJsonObject json{{"column", column + 1}, {"unit", unit.name}};
    if (column < text.head.columns.size())
        json["name"] = text.head.columns[column].text;
    return json;
}

constexpr char kCountText[] = "x counts 0, 1, 2, ... or 1, 2, 3, ...: if it is the number of the point, give "
                              "\1columns\2 HEIGHT \1pitch\2 MM";

}  // namespace

QString countHint(const TextProfiles& text, const TextOptions& options) {
    const QList<Heading>& columns = text.head.columns;
    const bool isNamed = !columns.isEmpty() && columns[0].role != ColumnRole::Unknown;
    return text.countsPoints && !isNamed && options.columns.isEmpty() ? QString(kCountText) : QString();
}

QString takenText(const TextProfiles& text, const TextOptions& options) {
    const ColumnChoice& choice = text.choice;
    QString lines = QString("separated by %1, decimal marks: %2%3\n")
                        .arg(separatorName(text.head.separator), markName(text.marks),
                             text.encoding == TextEncoding::EightBit ? "" : ", UTF-16");
    if (choice.isProfilePerRow)
        lines += QString("a profile per row, heights in %1").arg(choice.heightUnit.name);
    else if (choice.x < 0)
        lines += "height: " + columnText(text, choice.height, choice.heightUnit);
    else
        lines += "x: " + columnText(text, choice.x, choice.xUnit) +
                 ", height: " + columnText(text, choice.height, choice.heightUnit);
    if (choice.x < 0 || choice.isProfilePerRow)
        lines += QString(", %1 mm apart").arg(options.pitch);
    else
        lines += QString(" (columns %1, units %2)").arg(choice.reason, choice.unitReason);
    lines += '\n';
    if (!options.unset.values.empty())
        lines += "unset besides nan: " + unsetTexts(options).join(", ") + '\n';
    if (!text.passedOver.isEmpty())
        lines += "no points in " + passedOverText(text.passedOver) + '\n';
    if (text.countsPoints)
        lines += kCountText + QString("\n");
    return lines;
}

QJsonObject takenJson(const TextProfiles& text, const TextOptions& options) {
    const ColumnChoice& choice = text.choice;
    QJsonArray passedOver, unset;
    for (const PassedOver& part : text.passedOver)
        passedOver.append(QJsonObject{{"from", part.from}, {"to", part.to}, {"what", part.what}});
    for (const double value : options.unset.values)
        unset.append(value);
    const bool hasX = choice.x >= 0 && !choice.isProfilePerRow;
    return {{"encoding", text.encoding == TextEncoding::EightBit ? "8 bit" : "UTF-16"},
            {"separator", separatorName(text.head.separator)},
            {"decimalMarks", markName(text.marks)},
            {"profilePerRow", choice.isProfilePerRow},
            {"x", columnJson(text, hasX ? choice.x : -1, choice.xUnit)},
            {"height", choice.isProfilePerRow ? QJsonObject{{"unit", choice.heightUnit.name}}
                                              : columnJson(text, choice.height, choice.heightUnit)},
            {"pitch", hasX ? QJsonValue() : QJsonValue(options.pitch)},
            {"unset", unset},
            {"passedOver", passedOver},
            {"countsPoints", text.countsPoints}};
}

}  // namespace KvMeasure
