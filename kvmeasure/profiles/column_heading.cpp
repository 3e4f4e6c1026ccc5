// A heading is parted into name and unit, the name into words, also where a capital follows a small letter. A
// column has a role when its words name one axis and nothing unknown: "laser x" is an x, "exposure x" may be
// anything.

#include <kvmeasure/profiles/column_heading.h>

#include <QtCore/QRegularExpression>

namespace KvMeasure {

namespace {

struct RoleWords {
    ColumnRole role;
    const char* words;  // between blanks
};

const RoleWords roleWords[] = {
    {ColumnRole::X, " x xpos posx xposition xcoord xaxis abscissa lateral "},
    {ColumnRole::Y, " y ypos posy yposition ycoord yaxis ordinate "},
    {ColumnRole::Height, " z zpos posz zposition zcoord zaxis height heights h elevation "},
    {ColumnRole::Number, " # n no nr num number index idx i id point points pt row sample count counter "
                         "column col pixel px line step "
                         "record frame seq "},
    {ColumnRole::Other,
     " t time timestamp date intensity brightness reflectance reflectivity gray grey quality snr peak weight "
     "flag valid status temperature encoder "},
};
constexpr char kPlaceWords[] = " pos position ";
constexpr char kPlainWords[] =
    " coord coordinate axis value values val measured raw filtered smoothed corrected "
    "calibrated profile laser sensor scanner part surface data ";

bool isAmong(const char* words, const QString& word) {
    return QString::fromLatin1(words).contains(' ' + word + ' ');
}

/// Words in small letters, parted where a capital follows a small letter too; digits behind a letter go.
QStringList wordsOf(const QString& name) {
    static const QRegularExpression capital("(?<=[a-z])(?=[A-Z])"), other("[^a-z0-9#]+"),
        digits("(?<=[a-z])\\d+$");
    QString text = name;
    text.replace(capital, " ");
    text = text.toLower();
    text.replace(other, " ");
    QStringList words;
    for (QString word : text.simplified().split(' ')) {
        if (!word.isEmpty())
            words.append(word.remove(digits));
    }
    return words;
}

ColumnRole roleOf(const QString& name) {
    bool has[6] = {};
    bool isPlace = false, isUnknown = false;
    for (const QString& word : wordsOf(name)) {
        bool isKnown = isAmong(kPlainWords, word);
        if (isAmong(kPlaceWords, word))
            isKnown = isPlace = true;
        for (const RoleWords& row : roleWords) {
            if (!isAmong(row.words, word))
                continue;
            has[static_cast<int>(row.role)] = isKnown = true;
        }
        isUnknown = isUnknown || !isKnown;
    }
    const auto is = [&has](ColumnRole role) { return has[static_cast<int>(role)]; };
    if (is(ColumnRole::Other))
        return ColumnRole::Other;
    const int axes = is(ColumnRole::X) + is(ColumnRole::Y) + is(ColumnRole::Height);
    if (isUnknown || axes > 1)
        return ColumnRole::Unknown;
    for (const ColumnRole role : {ColumnRole::X, ColumnRole::Y, ColumnRole::Height}) {
        if (is(role))
            return role;
    }
    return isPlace ? ColumnRole::X : is(ColumnRole::Number) ? ColumnRole::Number : ColumnRole::Unknown;
}

/// The place of the closing bracket's partner when the text ends with a bracket; -1 otherwise.
int openingBracket(const QString& text) {
    for (const char* pair : {"[]", "()", "{}", "<>"}) {
        if (text.endsWith(QChar(pair[1])))
            return static_cast<int>(text.lastIndexOf(QChar(pair[0])));
    }
    return -1;
}

}  // namespace

QString unitText(const QString& text) {
    const QString plain = text.trimmed();
    return openingBracket(plain) == 0 ? plain.mid(1, plain.size() - 2).trimmed() : plain;
}

Heading readHeading(const QString& text) {
    Heading heading;
    heading.text = heading.name = text.trimmed();
    const int bracket = openingBracket(heading.text);
    if (bracket > 0) {
        heading.unit = heading.text.mid(bracket + 1, heading.text.size() - bracket - 2).trimmed();
        heading.name = heading.text.left(bracket).trimmed();
        heading.length = findLengthUnit(heading.unit);
    } else {
        static const QRegularExpression tail(
            "^(.*?[^\\s/_.,-])(?:\\s+in\\s+|\\s*[/_.,\\s-]\\s*)([^\\s/_.,-]+)$",
            QRegularExpression::CaseInsensitiveOption);
        static const QRegularExpression capital("^(.*[a-z0-9X-Z])(Nm|Um|Mm|Cm|Inch)$");
        const bool isCapital = heading.text == heading.text.toUpper();  // as a whole: "X_MM"
        QRegularExpressionMatch match = tail.match(heading.text);
        if (match.hasMatch() && findLengthUnit(match.captured(2).toLower()) != nullptr) {
            heading.unit = isCapital ? match.captured(2).toLower() : match.captured(2);
        } else {
            match = capital.match(heading.text);
            heading.unit = match.captured(2).toLower();
        }
        if (match.hasMatch()) {
            heading.name = match.captured(1).trimmed();
            heading.length = findLengthUnit(heading.unit);
        }
    }
    heading.role = roleOf(heading.name);
    return heading;
}

}  // namespace KvMeasure
