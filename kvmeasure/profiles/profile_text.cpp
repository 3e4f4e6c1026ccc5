// Reads a text once. The first lines are kept until they have told separator, heading and columns; then they
// and all others are taken row by row, so that memory holds the points and not the text. What could be read
// in two ways (decimal commas, a column that counts, -9999 as a height) is refused, since a wrong number is
// measured as well as a right one.

#include <kvmeasure/profiles/profile_text.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/profiles/unset_values.h>

#include <QtCore/QRegularExpression>

#include <algorithm>
#include <cmath>

namespace KvMeasure {

using KvMath::KvPointXY;

namespace {

constexpr qint64 kLongestLine = 1 << 20;  // bytes
constexpr int kLargestText = 20'000'000;  // points of all profiles

/// A cell of a row as it was read.
struct ReadNumber {
    double number = 0;
    DecimalMarks marks;
};

class ProfileText {
public:
    ProfileText(QIODevice& device, const QString& name, const TextOptions& options)
        : lines_(device, name, kLongestLine), name_(name), options_(options) {}
    TextProfiles read();

private:
    void readHead();
    void sayHead();
    bool nextLine();
    void takeLine();
    void takeRow();
    void takeProfileRow();
    void takeText();
    void begin();
    void add(double x, double height);
    void take(const ReadNumber& read) {
        result_.marks.point = result_.marks.point || read.marks.point;
        result_.marks.comma = result_.marks.comma || read.marks.comma;
    }
    double value(double number, int column, const LengthUnit& unit);
    [[noreturn]] void failNumber(int column) const;
    void refuseDecimalCommas();
    void checkUnset() const;
    void checkCount() const;

    TextLines lines_;
    QString name_;
    const TextOptions& options_;
    TextProfiles result_;

    std::vector<NumberedLine> sample_;  // the first lines, until they are taken
    std::size_t taken_ = 0;
    QByteArray line_;
    qint64 number_ = 0;
    Fields fields_;
    ReadNumber x_, height_;  // of the line, where it has them

    bool isAfterBlank_ = false;
    qint64 textFrom_ = 0, textTo_ = 0;  // lines of text since the last row; 0: none
    qint64 rows_ = 0, rowsOfProfile_ = 0, points_ = 0;
    double firstCount_ = 0;
    bool isCounting_ = true;        // column 1 so far
    bool areColumnsKnown_ = false;  // no comma is a decimal mark
    UnsetWatch watches_[2];         // of x and height
};

void ProfileText::readHead() {
    constexpr int kMostContent = 256, kMostLines = 10'000;
    constexpr qint64 kMostBytes = 4 << 20;
    int content = 0;
    qint64 bytes = 0;
    while (content < kMostContent && sample_.size() < kMostLines && (content < 2 || bytes < kMostBytes) &&
           lines_.next()) {
        sample_.push_back({lines_.number(), lines_.line()});
        content += isBlank(lines_.line()) || isComment(lines_.line()) ? 0 : 1;
        bytes += lines_.line().size();
        if (content == 1 && lines_.line().trimmed() == "name,value,unit")
            throw Error("holds the true values of a simulated part, no points; name the file beside it");
    }
    result_.encoding = lines_.encoding();
    result_.head = findHead(sample_);
    if (result_.head.width == 0 && sample_.size() >= kMostContent && lines_.next())
        throw Error(QString("its first %1 lines hold no row of numbers; expected rows of \"x,y\" or \"x;y\"")
                        .arg(sample_.size()));
    if (result_.head.width == 0)
        throw Error("holds no point; expected rows of \"x,y\" or \"x;y\"");
    result_.choice = chooseColumns(result_.head, options_);
    areColumnsKnown_ =
        !options_.columns.isEmpty() || result_.head.separator != ',' || result_.head.columns.size() > 2;
}

/// What stands above the rows, for those who want to know what was taken.
void ProfileText::sayHead() {
    const auto say = [this](qint64 line, const char* what) { result_.passedOver.append({line, line, what}); };
    for (const NumberedLine& line : result_.head.titles)
        say(line.number, "title");
    if (result_.head.namesLine > 0)
        say(result_.head.namesLine, "heading");
    if (result_.head.unitsLine > 0)
        say(result_.head.unitsLine, "units");
}

bool ProfileText::nextLine() {
    if (taken_ < sample_.size()) {
        line_ = sample_[taken_].text;
        number_ = sample_[taken_].number;
        ++taken_;
        return true;
    }
    sample_.clear();
    taken_ = 0;
    if (!lines_.next())
        return false;
    line_ = lines_.line();
    number_ = lines_.number();
    return true;
}

void ProfileText::failNumber(int column) const {
    throw Error(filledIn("line %1: column %2: expected a number, found ", number_, column + 1) + '"' +
                shown(fields_[std::size_t(column)].bytes()) + '"')
        .atLine(number_);
}

/// "-1,0,0,02" are four columns, or -1.0 and 0.02. A row that can only be four settles it for the file.
void ProfileText::refuseDecimalCommas() {
    constexpr std::size_t kFieldsOfTwoNumbers = 4;
    if (areColumnsKnown_ || fields_.size() != kFieldsOfTwoNumbers)
        return;
    static const QRegularExpression twoNumbers(
        R"(^\s*[+-]?\d+,\d+(e[+-]?\d+)?\s*,\s*[+-]?\d+,\d+(e[+-]?\d+)?\s*$)",
        QRegularExpression::CaseInsensitiveOption);
    if (twoNumbers.match(QString::fromLatin1(line_)).hasMatch())
        throw Error(QString("line %1: \"").arg(number_) + shown(line_.trimmed()) +
                    "\" may be two numbers with decimal commas; separate numbers by semicolons, or give "
                    "\1columns\2 1,2 if these are four columns")
            .atLine(number_);
    areColumnsKnown_ = true;
}

/// In mm; NaN where the file says that there is nothing.
double ProfileText::value(double number, int column, const LengthUnit& unit) {
    const UnsetValues& unset = options_.unset;
    const bool isX = column == result_.choice.x;
    if (std::isnan(number) || (isX ? unset.holdsPlace(number) : unset.holds(number)))
        return std::nan("");
    const double mm = unit.toMm(number);
    if (!(std::fabs(mm) <= double(std::numeric_limits<float>::max())))
        throw Error(filledIn("line %1: column %2: ", number_, column + 1) +
                    shown(fields_[std::size_t(column)].bytes()) + " is too large for a coordinate")
            .atLine(number_);
    if (!unset.keepsAll)
        watches_[isX ? 0 : 1].add(number, number_);
    return mm;
}

void ProfileText::begin() {
    result_.profiles.push_back({});
    result_.profiles.back().line = number_;
    rowsOfProfile_ = 0;
}

void ProfileText::add(double x, double height) {
    TextProfile& profile = result_.profiles.back();
    if (std::isnan(x) || std::isnan(height)) {
        ++profile.unset;
        if (std::isnan(x))
            return;
        const auto place = static_cast<float>(x);
        profile.unsetX[0] = profile.hasUnsetX ? std::min(profile.unsetX[0], place) : place;
        profile.unsetX[1] = profile.hasUnsetX ? std::max(profile.unsetX[1], place) : place;
        profile.hasUnsetX = true;
        return;
    }
    if (profile.profile.points.size() == kLargestProfile)
        throw Error(QString("has more than %1 points; that is no single profile (of a scan: \"kvmeasure scan "
                            "info\")")
                        .arg(kLargestProfile));
    if (++points_ > kLargestText)
        throw Error(QString("has more than %1 points; divide it").arg(kLargestText));
    profile.profile.points.append(KvPointXY(static_cast<float>(x), static_cast<float>(height)));
}

void ProfileText::takeProfileRow() {
    begin();
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        double number = 0;
        if (readCell(fields_[i], number, result_.marks) == Cell::Text)
            failNumber(static_cast<int>(i));
        add(static_cast<double>(i) * options_.pitch,
            value(number, static_cast<int>(i), result_.choice.heightUnit));
    }
}

/// A line of text between the rows, or below them.
void ProfileText::takeText() {
    textFrom_ = textFrom_ == 0 ? number_ : textFrom_;
    textTo_ = number_;
    if (result_.head.columns.size() < 2 || static_cast<int>(fields_.size()) < result_.choice.needed())
        return;
    for (const int column : {result_.choice.x, result_.choice.height}) {
        if (column < 0 || column >= result_.head.columns.size() || result_.choice.isProfilePerRow)
            continue;
        const Heading heading = readHeading(decoded(fields_[std::size_t(column)].bytes()));
        const Heading& first = result_.head.columns[column];
        if (heading.text != first.text && heading.isKnown() && heading.name != first.name &&
            findLengthUnit(unitText(heading.text)) == nullptr)
            throw Error(filledIn("line %1: another heading than in line %2; make a file of each table",
                                 number_, result_.head.namesLine))
                .atLine(number_);
    }
}

void ProfileText::takeRow() {
    const ColumnChoice& choice = result_.choice;
    const bool isSeparate = (isAfterBlank_ && !result_.head.isDoubleSpaced) || textFrom_ > 0;
    if (textFrom_ > 0)
        result_.passedOver.append({textFrom_, textTo_, "text between the rows"});
    textFrom_ = 0;
    isAfterBlank_ = false;
    ++rows_;
    if (choice.isProfilePerRow)
        return takeProfileRow();
    if (result_.profiles.empty() || isSeparate)
        begin();
    ++rowsOfProfile_;
    double x = x_.number;
    if (choice.x >= 0) {
        take(x_);
        firstCount_ = rows_ == 1 ? x : firstCount_;
        isCounting_ = isCounting_ && (firstCount_ == 0 || firstCount_ == 1) &&
                      x == firstCount_ + static_cast<double>(rows_ - 1);
    }
    take(height_);
    x = choice.x < 0 ? static_cast<double>(rowsOfProfile_ - 1) * options_.pitch
                     : value(x, choice.x, choice.xUnit);
    add(x, value(height_.number, choice.height, choice.heightUnit));
}

void ProfileText::takeLine() {
    if (isBlank(line_)) {
        isAfterBlank_ = true;
        return;
    }
    if (isComment(line_))
        return;
    splitFields(line_, result_.head.separator, fields_);
    const int needed = result_.choice.isProfilePerRow ? 1 : result_.choice.needed();
    int numbers = 0, texts = 0, firstText = -1;
    const auto look = [&](int column, ReadNumber& read) {
        read.marks = DecimalMarks();
        const Cell cell = readCell(fields_[std::size_t(column)], read.number, read.marks);
        numbers += cell == Cell::Number ? 1 : 0;
        texts += cell == Cell::Text ? 1 : 0;
        if (cell == Cell::Text && firstText < 0)
            firstText = column;
    };
    const auto hasNumber = [&] {
        ReadNumber any;
        for (std::size_t i = 0; i < fields_.size(); ++i)
            look(static_cast<int>(i), any);
        return numbers > 0;
    };
    if (static_cast<int>(fields_.size()) < needed) {
        if (!hasNumber() && texts > 0)
            return takeText();
        throw Error(filledIn("line %1: has %2 column(s), expected at least %3 in \"", number_, fields_.size(),
                             needed) +
                    shown(line_.trimmed()) + "\"; a row is \"x,y\" or \"x;y\"")
            .atLine(number_);
    }
    if (!result_.choice.isProfilePerRow) {
        if (result_.choice.x >= 0)
            look(result_.choice.x, x_);
        look(result_.choice.height, height_);
        if (texts > 0) {
            const int column = firstText;
            if (numbers > 0 || hasNumber())
                failNumber(column);
            return takeText();
        }
    } else if (!hasNumber() && texts > 0) {
        return takeText();
    }
    refuseDecimalCommas();
    takeRow();
}

void ProfileText::checkUnset() const {
    for (const UnsetWatch& watch : watches_) {
        UnsetWatch::Finding finding;
        if (!watch.find(finding))
            continue;
        const QString number = QString::number(finding.value, 'g', 10);
        throw Error(filledIn("line %1: %2 occurs %3 time(s), far outside all other values; does it stand for "
                             "\"nothing measured\"? Then give \1unset\2 %2, otherwise \1unset\2 none",
                             finding.line, number, finding.count))
            .atLine(finding.line);
    }
}

/// Without names, the first of three columns may be the number of the point.
void ProfileText::checkCount() const {
    const ColumnChoice& choice = result_.choice;
    if (!choice.mayBeNumbers || choice.isProfilePerRow)
        return;
    if (rows_ == 1)
        throw Error(
            QString(
                "has one row of %1 numbers; if they are heights, give their distance along x with \1pitch\2 "
                "MM; if they are a point, choose x and height with \1columns\2, e.g. \1columns\2 1,2")
                .arg(result_.head.width));
    if (isCounting_ && rows_ > 2)
        throw Error("column 1 counts 0, 1, 2, ... or 1, 2, 3, ...: is it the number of the point or x? "
                    "Choose x and height with \1columns\2, e.g. \1columns\2 2,3");
}

TextProfiles ProfileText::read() {
    try {
        readHead();
        sayHead();
        taken_ = std::size_t(result_.head.firstRow);
        while (nextLine())
            takeLine();
        if (textFrom_ > 0)
            result_.passedOver.append({textFrom_, textTo_, "text below the rows"});
        checkCount();
        checkUnset();
    } catch (const Error& error) {
        throw error.at(name_).inFile(name_);
    }
    result_.countsPoints = isCounting_ && rows_ > 2 && result_.choice.x == 0;
    if (result_.choice.x >= 0 && !result_.choice.isProfilePerRow)
        splitAtJumps(result_.profiles);
    return std::move(result_);
}

}  // namespace

TextProfiles readProfileText(QIODevice& device, const QString& name, const TextOptions& options) {
    return ProfileText(device, name, options).read();
}

}  // namespace KvMeasure
