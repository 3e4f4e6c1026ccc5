// Symbols are compared letter by letter, because case changes the unit (Mm is a million metres, NM a nautical
// mile); names are not. A factor is kept as a product and a quotient of whole numbers, so that 1000 um are 1
// mm exactly.

#include <kvmeasure/base/length_unit.h>

#include <QtCore/QRegularExpression>

namespace KvMeasure {

const LengthUnit millimetre = {"mm", 1, 1};

namespace {

const LengthUnit units[] = {{"nm", 1, 1e6}, {"um", 1, 1e3},      {"mm", 1, 1},     {"cm", 10, 1},
                            {"m", 1000, 1}, {"mil", 25.4, 1000}, {"inch", 25.4, 1}};

struct Spelling {
    const char* words;  // between blanks
    const char* name;
};

const Spelling symbols[] = {
    {" nm ", "nm"},   {" um \u00B5m \u03BCm ", "um"}, {" mm ", "mm"}, {" cm ", "cm"}, {" m ", "m"},
    {" mil ", "mil"}, {" in in. \" ", "inch"},
};

const Spelling names[] = {
    {" nanometer nanometers nanometre nanometres ", "nm"},
    {" micron microns micrometer micrometers micrometre micrometres ", "um"},
    {" millimeter millimeters millimetre millimetres ", "mm"},
    {" centimeter centimeters centimetre centimetres ", "cm"},
    {" meter meters metre metres ", "m"},
    {" mil mils thou ", "mil"},
    {" inch inches ", "inch"},
};

template <class Spellings>
const LengthUnit* findIn(const Spellings& spellings, const QString& word) {
    for (const Spelling& spelling : spellings) {
        if (!QString::fromUtf8(spelling.words).contains(' ' + word + ' '))
            continue;
        for (const LengthUnit& unit : units) {
            if (qstrcmp(unit.name, spelling.name) == 0)
                return &unit;
        }
    }
    return nullptr;
}

}  // namespace

const LengthUnit* findLengthUnit(const QString& text) {
    const QString word = text.trimmed();
    if (word.isEmpty() || word.contains(' '))
        return nullptr;
    const LengthUnit* unit = findIn(symbols, word);
    return unit != nullptr ? unit : findIn(names, word.toLower());
}

QStringList lengthUnitNames() {
    QStringList list;
    for (const LengthUnit& unit : units)
        list.append(unit.name);
    return list;
}

const LengthUnit* unitMentioned(const QString& text) {
    static const QRegularExpression other("[^\\w\u00B5\u03BC]+|_",
                                          QRegularExpression::UseUnicodePropertiesOption);
    for (const QString& word : text.toLower().split(other)) {
        const LengthUnit* unit =
            word == "m" || word == "in" || word == "mil" ? nullptr : findLengthUnit(word);
        if (unit != nullptr && qstrcmp(unit->name, millimetre.name) != 0)
            return unit;
    }
    return nullptr;
}

}  // namespace KvMeasure
