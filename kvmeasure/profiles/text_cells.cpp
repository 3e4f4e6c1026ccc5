// Cuts a line of text into cells and reads them as numbers, whatever the language of the program that wrote
// them.

#include <kvmeasure/profiles/text_table.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

namespace KvMeasure {

namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

bool isWhite(char letter) { return letter == ' ' || letter == '\t'; }

/// In small letters. What spreadsheets, runtimes and instruments write where nothing was measured.
constexpr std::string_view kUnsetWords[] = {
    "nan",     "-nan",    "+nan",    "nan(ind)",  "-nan(ind)", "1.#qnan", "-1.#qnan", "1.#ind",
    "-1.#ind", "#n/a",    "#na",     "n/a",       "na",        "n.a.",    "null",     "<null>",
    "nil",     "none",    "#value!", "#num!",     "#div/0!",   "#ref!",   "#name?",   "#null!",
    "invalid", "missing", "void",    "undefined", "no data",   "nodata",  "empty",    "-",
    "--",      "---",     "*",       "**",        "***",       "?",       "."};

bool isUnsetWord(const char* at, int size) {
    return std::any_of(std::begin(kUnsetWords), std::end(kUnsetWords), [&](std::string_view word) {
        return int(word.size()) == size && qstrnicmp(at, word.data(), uint(size)) == 0;
    });
}

/// The same with a point for a comma and '-' for the typographic minus; false when it is no number in short.
bool readPlain(const TextField& field, double& value, DecimalMarks& marks) {
    constexpr int kLongest = 64;
    char text[kLongest];
    int size = 0;
    const char* at = field.at;
    const char* const end = field.at + field.size;
    constexpr char kMinus[] = "\xE2\x88\x92";
    if (end - at >= 3 && std::memcmp(at, kMinus, 3) == 0) {
        text[size++] = '-';
        at += 3;
    } else if (at != end && *at == '+') {
        ++at;
        if (at != end && *at == '-')
            return false;
    }
    bool hasPoint = false, hasComma = false;
    for (; at != end; ++at) {
        if (size == kLongest)
            return false;
        hasPoint = hasPoint || *at == '.';
        hasComma = hasComma || *at == ',';
        text[size++] = *at == ',' ? '.' : *at;
    }
    const char first = size > 1 && text[0] == '-' ? text[1] : size > 0 ? text[0] : 'x';
    if (first != '.' && (first < '0' || first > '9'))
        return false;
    const auto result = std::from_chars(text, text + size, value);
    if (result.ec != std::errc() || result.ptr != text + size)
        return false;
    marks.point = marks.point || hasPoint;
    marks.comma = marks.comma || hasComma;
    return true;
}

/// From `from` to the separator or the end; sets `next` behind the separator, or to null at the end.
TextField takeField(const char* from, const char* end, char separator, const char*& next) {
    while (from != end && isWhite(*from) && (separator == ' ' || *from != separator))
        ++from;
    const char* stop = from;
    if (from != end && *from == '"') {
        const char* close = from + 1;
        while (close != end && (*close != '"' || (close + 1 != end && close[1] == '"')))
            close += *close == '"' ? 2 : 1;
        if (close != end)
            stop = close;
    }
    while (stop != end && (separator == ' ' ? !isWhite(*stop) : *stop != separator))
        ++stop;
    next = stop == end ? nullptr : stop + 1;
    while (stop != from && isWhite(stop[-1]))
        --stop;
    if (stop - from >= 2 && (*from == '"' || *from == '\'') && stop[-1] == *from) {
        ++from;
        --stop;
        while (from != stop && isWhite(*from))
            ++from;
        while (stop != from && isWhite(stop[-1]))
            --stop;
    }
    return {from, static_cast<int>(stop - from)};
}

}  // namespace

void splitFields(const QByteArray& line, char separator, Fields& fields) {
    fields.clear();
    const char* at = line.constData();
    const char* end = at + line.size();
    if (separator == ' ') {
        while (end != at && isWhite(end[-1]))
            --end;
    }
    while (at != nullptr) {
        fields.push_back(takeField(at, end, separator, at));
    }
}

Cell readCell(const TextField& field, double& value, DecimalMarks& marks) {
    value = kNotANumber;
    if (field.size == 0)
        return Cell::Nothing;
    if (readPlain(field, value, marks))
        return Cell::Number;
    value = kNotANumber;
    if (isUnsetWord(field.at, field.size))
        return Cell::Nothing;
    const auto isMark = [](char letter) { return letter == '.' || letter == ','; };
    if (std::count_if(field.at, field.at + field.size, isMark) > 1)  // a row parted by another separator
        return Cell::Text;
    bool isNumber = false;
    const double any = field.bytes().replace(',', '.').toDouble(&isNumber);  // infinite beyond all doubles
    if (!isNumber && !std::isinf(any))
        return Cell::Text;
    value = any;
    return Cell::Number;
}

double textNumber(const QByteArray& text, bool& isNumber) {
    const double value = text.toDouble(&isNumber);
    if (isNumber || (qstricmp(text.constData(), "nan") != 0 && qstricmp(text.constData(), "-nan") != 0))
        return value;
    isNumber = true;
    return kNotANumber;
}

bool isBlank(const QByteArray& line) {
    for (const char letter : line) {
        if (!isWhite(letter))
            return false;
    }
    return true;
}

bool isComment(const QByteArray& line) {
    int from = 0, to = 0;
    while (from < line.size() && isWhite(line[from]))
        ++from;
    if (from == line.size() || line[from] != '#')
        return false;
    for (to = from; to < line.size() && !isWhite(line[to]) && line[to] != ';' && line[to] != ',';)
        ++to;
    return !isUnsetWord(line.constData() + from, to - from);
}

}  // namespace KvMeasure
