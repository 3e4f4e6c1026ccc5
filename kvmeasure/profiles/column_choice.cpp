// Options decide first, then the names in the heading, then the order of the columns. What could be taken in
// two ways is refused with the option that settles it, since a wrong column is measured as well as a right
// one.

#include <kvmeasure/profiles/column_choice.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/profiles/text_lines.h>

namespace KvMeasure {

namespace {

constexpr int kMostUnnamed = 8;  // columns of a table of points without headings

QString safe(const QString& text) { return shown(text.toUtf8()); }

QString columnName(const TextHead& head, int column) {
    const QString number = QString("column %1").arg(column + 1);
    const QString name = column < head.columns.size() ? head.columns[column].text : QString();
    return name.isEmpty() ? number : number + " \"" + safe(name) + '"';
}

QString namesOf(const TextHead& head) {
    QStringList names;
    constexpr int kMost = 12;
    for (int i = 0; i < head.columns.size() && i < kMost; ++i)
        names.append('"' + safe(head.columns[i].text) + '"');
    return names.join(", ") + (head.columns.size() > kMost ? ", ..." : "");
}

[[noreturn]] void failUnclear(const TextHead& head, const QString& why) {
    throw Error("the columns are " + namesOf(head) + ": " + why +
                "; choose x and height with \1columns\2, by name or number");
}

[[noreturn]] void failAlone(const TextHead& head, int column) {
    throw Error(columnName(head, column) +
                " holds heights alone; give their distance along x with \1pitch\2 MM");
}

/// Columns with numbers by what their names say.
struct Candidates {
    QList<int> x, y, height, unknown;
    int texts = 0;  // columns without numbers

    explicit Candidates(const TextHead& head) {
        for (int i = 0; i < head.width; ++i) {
            if (!head.isNumeric[std::size_t(i)]) {
                ++texts;
                continue;
            }
            switch (head.columns[i].role) {
            case ColumnRole::X:
                x.append(i);
                break;
            case ColumnRole::Y:
                y.append(i);
                break;
            case ColumnRole::Height:
                height.append(i);
                break;
            case ColumnRole::Unknown:
                unknown.append(i);
                break;
            default:
                break;
            }
        }
    }
    int all() const { return static_cast<int>(x.size() + y.size() + height.size() + unknown.size()); }
};

ColumnChoice chosen(int x, int height, const char* reason) {
    ColumnChoice choice;
    choice.x = x;
    choice.height = height;
    choice.reason = reason;
    return choice;
}

/// x is named: the height is z, y, or the only other column.
ColumnChoice chooseBesideX(const TextHead& head, const Candidates& found) {
    if (!found.height.isEmpty() && !found.y.isEmpty())
        failUnclear(head, "points of a scan have x, y and z, those of a profile two of them");
    for (const QList<int>& heights : {found.height, found.y}) {
        if (!heights.isEmpty())
            return chosen(found.x[0], heights[0], "by the heading");
    }
    if (found.unknown.size() != 1)
        failUnclear(head, "none is named as a height");
    return chosen(found.x[0], found.unknown[0], "by the heading");
}

ColumnChoice chooseWithoutX(const TextHead& head, const Candidates& found) {
    if (!found.y.isEmpty() && !found.height.isEmpty())
        return chosen(found.y[0], found.height[0], "by the heading, y across and z up");
    const bool hasHeight = !found.height.isEmpty();
    if (hasHeight || !found.y.isEmpty()) {
        const int height = hasHeight ? found.height[0] : found.y[0];
        if (found.unknown.isEmpty())
            failAlone(head, height);
        if (found.unknown.size() > 1)
            failUnclear(head, "none is named as x");
        const int other = found.unknown[0];
        return hasHeight || other < height ? chosen(other, height, "by the heading")
                                           : chosen(height, other, "by their order");
    }
    if (found.unknown.size() == 2 && found.texts == 0)
        return chosen(found.unknown[0], found.unknown[1], "by their order");
    if (found.unknown.size() == 1 && found.texts == 0)
        failAlone(head, found.unknown[0]);
    failUnclear(head, "none is named as x or as a height");
}

ColumnChoice chooseByNames(const TextHead& head, bool hasPitch) {
    const Candidates found(head);
    if (hasPitch) {
        if (found.x.isEmpty() && found.all() > 2 && found.texts == 0 && found.height.size() != 1) {
            ColumnChoice choice;
            choice.isProfilePerRow = true;
            choice.reason = "a profile per row";
            return choice;
        }
        for (const QList<int>& heights : {found.height, found.y, found.unknown}) {
            if (found.x.isEmpty() && heights.size() == 1)
                return chosen(-1, heights[0], "by the heading");
        }
        failUnclear(head, "\1pitch\2 goes with heights alone");
    }
    if (found.x.size() > 1 || found.y.size() > 1 || found.height.size() > 1)
        failUnclear(head, "several are named alike");
    return found.x.isEmpty() ? chooseWithoutX(head, found) : chooseBesideX(head, found);
}

ColumnChoice chooseUnnamed(const TextHead& head, bool hasPitch) {
    if (head.width == 1 && !hasPitch)
        failAlone(head, 0);
    if (head.width == 1)
        return chosen(-1, 0, "the only one");
    if (hasPitch && head.width == 2)
        throw Error("has two columns; say which holds the heights that \1pitch\2 places: \1columns\2 2 (or "
                    "numbers with decimal commas: separate them by semicolons)");
    ColumnChoice choice = chosen(0, 1, "by their order");
    choice.isProfilePerRow = hasPitch;
    if (hasPitch)
        choice.reason = "a profile per row";
    else if (head.width > kMostUnnamed)
        throw Error(
            QString("has %1 columns without names; a profile per row needs \1pitch\2 MM, the distance of its "
                    "heights along x; otherwise choose x and height with \1columns\2, e.g. \1columns\2 1,2")
                .arg(head.width));
    choice.mayBeNumbers = head.width > 2;
    return choice;
}

int findColumn(const TextHead& head, const QString& word) {
    constexpr int kLastColumn = 100'000;
    bool isNumber = false;
    const int number = word.toInt(&isNumber);
    if (isNumber && number >= 1 && number <= kLastColumn)
        return number - 1;
    QList<int> found;
    for (int i = 0; i < head.columns.size(); ++i) {
        for (const QString& name : {head.columns[i].text, head.columns[i].name}) {
            if (name.compare(word, Qt::CaseInsensitive) == 0 && (found.isEmpty() || found.last() != i))
                found.append(i);
        }
    }
    if (found.size() == 1)
        return found[0];
    const QString start = "\1columns\2: \"" + safe(word) + "\" is ";
    if (found.size() > 1)
        throw Error(start + QString("the name of %1 columns; take their numbers").arg(found.size()));
    throw Error(start + (head.columns.isEmpty()
                             ? QString("no number of a column, and the columns have no names")
                             : "no column; there are " + namesOf(head)));
}

ColumnChoice chooseByOption(const TextHead& head, const TextOptions& options) {
    const QStringList words = options.columns.split(',');
    if (words.size() > 2)
        throw Error("\1columns\2 needs x and height, e.g. \"1,3\" or \"x_mm,z_mm\", not \"" +
                    safe(options.columns) + '"');
    const int last = findColumn(head, words.last().trimmed());
    if (words.size() == 2 && options.hasPitch())
        throw Error("\1pitch\2 goes with heights alone, \1columns\2 names two columns; give one of them");
    if (words.size() == 1 && !options.hasPitch())
        failAlone(head, last);
    return chosen(words.size() == 1 ? -1 : findColumn(head, words.first().trimmed()), last, "by \1columns\2");
}

/// What the heading says of the unit; null for nothing. Throws for another unit than one of length.
const LengthUnit* namedUnit(const TextHead& head, int column) {
    if (column < 0 || column >= head.columns.size())
        return nullptr;
    const Heading& heading = head.columns[column];
    if (heading.length == nullptr && !heading.unit.isEmpty())
        throw Error(columnName(head, column) + ": \"" + safe(heading.unit) +
                    "\" is no unit of length known here; give \1units\2 " + lengthUnitNames().join('|') +
                    ", or choose others with \1columns\2");
    return heading.length;
}

/// No column has a unit: none of the lines above may speak of another than mm.
void refuseOtherUnits(const TextHead& head) {
    const auto check = [](const QString& text, qint64 line) {
        const LengthUnit* unit = unitMentioned(text);
        if (unit != nullptr)
            throw Error(QString("line %1: \"").arg(line) + safe(text) + "\" speaks of " + unit->name +
                        ", the columns have no unit; give \1units\2 " + unit->name + " or \1units\2 mm")
                .atLine(line);
    };
    for (const Heading& heading : head.columns)
        check(heading.text, head.namesLine);
    for (const QList<NumberedLine>& lines : {head.titles, head.comments}) {
        for (const NumberedLine& line : lines)
            check(decoded(line.text), line.number);
    }
}

void chooseUnits(const TextHead& head, const TextOptions& options, ColumnChoice& choice) {
    if (!options.units.isEmpty()) {
        if (options.units.size() > 2)
            throw Error("\1units\2: points of a profile have x and height; give one unit or two");
        if (options.units.size() > 1 && choice.x < 0)
            throw Error("\1units\2: there are heights alone; give one unit, \1pitch\2 is in mm");
        choice.xUnit = options.units.first();
        choice.heightUnit = options.units.last();
        choice.unitReason = "by \1units\2";
        return;
    }
    const int heightColumn = choice.isProfilePerRow ? 0 : choice.height;
    const LengthUnit* height = namedUnit(head, heightColumn);
    const LengthUnit* x = choice.x < 0 || choice.isProfilePerRow ? height : namedUnit(head, choice.x);
    if (height == nullptr && x == nullptr) {
        refuseOtherUnits(head);
        choice.unitReason = "assumed";
        return;
    }
    const LengthUnit& known = height != nullptr ? *height : *x;
    if ((height == nullptr || x == nullptr) && qstrcmp(known.name, millimetre.name) != 0)
        throw Error(columnName(head, height == nullptr ? choice.height : choice.x) + " has no unit, " +
                    columnName(head, height == nullptr ? choice.x : choice.height) +
                    " has one; give \1units\2 X,HEIGHT, e.g. \1units\2 mm," + known.name);
    choice.xUnit = x != nullptr ? *x : millimetre;
    choice.heightUnit = height != nullptr ? *height : millimetre;
    choice.unitReason = "by the heading";
}

}  // namespace

ColumnChoice chooseColumns(const TextHead& head, const TextOptions& options) {
    ColumnChoice choice = !options.columns.isEmpty() ? chooseByOption(head, options)
                          : !head.columns.isEmpty()  ? chooseByNames(head, options.hasPitch())
                                                     : chooseUnnamed(head, options.hasPitch());
    chooseUnits(head, options, choice);
    return choice;
}

}  // namespace KvMeasure
