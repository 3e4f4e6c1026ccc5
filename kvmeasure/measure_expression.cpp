#include "kvmeasure/measure_expression.h"

#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"

#include <kvmath/tsearch/measurements.h>

#include <QtCore/QSet>

#include <memory>

namespace KvMeasure {

using namespace KvMath;

namespace {

constexpr double radiansPerDegree = 0.017453292519943295;
constexpr int startOrEnd = -1;  // of a place: not written

/// A template line, with the end that was named.
struct Place {
    int line = 0;
    int end = startOrEnd;  // 0 start, 1 end
};

const QStringList kinds{"length",       "inclination", "rotation", "angle",    "point",
                        "intersection", "between",     "shift",    "distance", "far"};

/// One statement, taken word by word.
class Statement {
public:
    Statement(const QString& text, TemplateFile& file, QSet<QString>& taken,
              QMap<QString, WrittenTolerance>& tolerances)
        : text_(text.simplified()), file_(file), taken_(taken), tolerances_(tolerances) {}

    void read();

private:
    [[noreturn]] void fail(const QString& reason) const {
        throw Failure{QString("--measure \"%1\": %2 (see \"kvmeasure teach --help\")").arg(text_, reason)};
    }
    bool atEnd() const { return words_.isEmpty(); }
    QString take(const QString& expected);
    double takeNumber(const QString& expected);
    Place takePlace();
    int takeLine();
    void takeName(QString& rest);
    void readTolerance(QString text);
    void claim(const QList<ValueName>& results);
    void add(TSMeasurement* measurement);
    void readKind(const QString& kind);
    void readShift();
    void readDistance();
    void readFar();

    QString text_;
    TemplateFile& file_;
    QSet<QString>& taken_;  // names of results, parts of means among them
    QMap<QString, WrittenTolerance>& tolerances_;
    QString name_;
    QStringList words_;
    bool isPoint_ = false;
};

QString Statement::take(const QString& expected) {
    if (atEnd())
        fail(QString("expected %1 at the end").arg(expected));
    return words_.takeFirst();
}

double Statement::takeNumber(const QString& expected) {
    const QString word = take(expected);
    double value = 0;
    if (!parseNumber(word, value))
        fail(QString("expected %1, found \"%2\"").arg(expected, word));
    return value;
}

Place Statement::takePlace() {
    const QString word = take("a template line");
    Place place;
    QString line = word;
    if (word.endsWith(".start") || word.endsWith(".end")) {
        place.end = word.endsWith(".end") ? 1 : 0;
        line = word.left(word.lastIndexOf('.'));
    }
    place.line = static_cast<int>(file_.lineNames.indexOf(line));
    if (place.line >= 0)
        return place;
    bool isNumber = false;
    place.line = line.toInt(&isNumber);
    const int last = static_cast<int>(file_.lineNames.size()) - 1;
    if (!isNumber || place.line < 0 || place.line > last)
        fail(QString("\"%1\" is no template line; expected 0 to %2 or a name (%3)%4")
                 .arg(line)
                 .arg(last)
                 .arg(file_.lineNames.join(", "), suggestion(line, file_.lineNames)));
    return place;
}

int Statement::takeLine() {
    const Place place = takePlace();
    if (place.end != startOrEnd)
        fail("a line is meant here; leave out \".start\" or \".end\"");
    return place.line;
}

void Statement::takeName(QString& rest) {
    const int equals = static_cast<int>(rest.indexOf('='));
    if (equals < 0)
        return;
    name_ = rest.left(equals).trimmed();
    rest = rest.mid(equals + 1);
    if (name_.isEmpty())
        fail("expected a name before \"=\"");
}

void Statement::readTolerance(QString text) {
    text.replace(QChar(0x00B1), "+-");
    WrittenTolerance written;
    Tolerance& tolerance = written.tolerance;
    const QString form = "expected \": NOMINAL +- T\" or \": NOMINAL +U -L\"";
    const int symmetric = static_cast<int>(text.indexOf("+-"));
    QString nominal;
    if (symmetric >= 0) {
        nominal = text.left(symmetric).trimmed();
        if (!parseNumber(text.mid(symmetric + 2), tolerance.upper) || tolerance.upper < 0)
            fail(form);
        tolerance.lower = -tolerance.upper;
    } else {
        const QStringList parts = text.simplified().split(' ');
        const int n = static_cast<int>(parts.size());
        if (n < 2 || n > 3 || !parseNumber(parts[n - 2], tolerance.upper) ||
            !parseNumber(parts[n - 1], tolerance.lower) || tolerance.lower > tolerance.upper)
            fail(form);
        nominal = n == 3 ? parts[0] : QString();
    }
    written.hasNominal = !nominal.isEmpty();
    if (written.hasNominal && !parseNumber(nominal, tolerance.nominal))
        fail(form);
    tolerances_[name_] = written;
}

void Statement::claim(const QList<ValueName>& results) {
    for (const ValueName& result : results) {
        if (taken_.contains(result.name))
            fail(QString("there is a result \"%1\" already; give another name: NAME = ...").arg(result.name));
        taken_.insert(result.name);
    }
}

void Statement::add(TSMeasurement* measurement) {
    std::unique_ptr<TSMeasurement> owner(measurement);
    claim(valueNames(*measurement));
    if (!file_.measurements.addMeasurement(measurement))
        fail("cannot be added");
    static_cast<void>(owner.release());
}

void Statement::readShift() {
    Place from = takePlace();
    Place to = takePlace();
    const double degrees = takeNumber("the direction in degrees from the reference line");
    constexpr double fullTurn = 360;
    if (!(degrees >= -fullTurn && degrees <= fullTurn))
        fail("the direction must be from -360 to 360 degrees");
    int reference = from.line;
    bool isReversed = false;
    while (!atEnd()) {
        const QString word = take("ref");
        if (word == "ref")
            reference = takeLine();
        else if (word == "reversed")
            isReversed = true;
        else
            fail(QString("expected \"ref LINE\" or \"reversed\", found \"%1\"").arg(word));
    }
    add(new TSUMEndPointShiftInDirection(from.line, to.line, from.end == 0, to.end != 1, reference,
                                         isReversed, degrees * radiansPerDegree, name_));
}

void Statement::readDistance() {
    const int from = takeLine();
    const int to = takeLine();
    constexpr double rightAngle = 90 * radiansPerDegree;
    const Mean mean{name_, name_ + " (start)", name_ + " (end)"};
    claim({{mean.name, "mm"}});
    for (const bool atStart : {true, false})
        add(new TSUMEndPointShiftInDirection(from, to, atStart, /*isLTStartPoint=*/true, to,
                                             /*isLineReferenceReversed=*/false, rightAngle,
                                             atStart ? mean.first : mean.second));
    file_.means.append(mean);
}

void Statement::readFar() {
    const double x = takeNumber("the x of a direction");
    const double y = takeNumber("the y of a direction");
    if (x == 0 && y == 0)
        fail("the direction must not be 0 0");
    add(new TSUMFarLineInDirection(KvVector2D<double>(x, y), name_ + " near", name_ + " far", name_));
}

void Statement::readKind(const QString& kind) {
    isPoint_ = kind == "point" || kind == "intersection" || kind == "between";
    if (kind == "length")
        return add(new TSUMLength(takeLine(), name_));
    if (kind == "inclination")
        return add(new TSUMInclinationAngle(takeLine(), name_));
    if (kind == "far")
        return readFar();
    if (kind == "shift")
        return readShift();
    if (kind == "distance")
        return readDistance();
    const Place first = kind == "between" ? takePlace() : Place{takeLine(), startOrEnd};
    if (kind == "point")
        return add(new TSUMLinePoint(first.line, takeNumber("a position, 0 (start) to 1 (end)"), name_));
    const Place second = kind == "between" ? takePlace() : Place{takeLine(), startOrEnd};
    if (kind == "rotation")
        return add(new TSUMRotationAngle(first.line, second.line, name_));
    if (kind == "angle")
        return add(new TSUMAngleBetweenLines(first.line, second.line, name_));
    if (kind == "intersection")
        return add(new TSUMLinesIntersection(first.line, second.line, name_));
    constexpr double middle = 0.5;
    const double position = atEnd() ? middle : takeNumber("a position, 0 (first point) to 1 (second)");
    add(new TSUMPointBetween2Points(first.line, second.line, first.end == 0, second.end != 1, position,
                                    name_));
}

void Statement::read() {
    const int colon = static_cast<int>(text_.indexOf(':'));
    QString rest = colon < 0 ? text_ : text_.left(colon);
    takeName(rest);
    words_ = rest.simplified().split(' ');
    const QString kind = words_.takeFirst();
    if (!kinds.contains(kind))
        fail(QString("\"%1\" is no kind of measurement; expected %2%3")
                 .arg(kind, kinds.join(", "), suggestion(kind, kinds)));
    if (name_.isEmpty())
        name_ = rest.simplified();
    readKind(kind);
    if (!atEnd())
        fail(QString("unexpected \"%1\"").arg(words_.first()));
    if (colon < 0)
        return;
    if (isPoint_)
        fail("a point has no single value to be within a tolerance");
    readTolerance(text_.mid(colon + 1));
}

}  // namespace

QMap<QString, WrittenTolerance> addMeasurements(const QString& text, TemplateFile& file) {
    constexpr int mostStatements = 1000;
    QMap<QString, WrittenTolerance> tolerances;
    QSet<QString> taken;
    QString statements = text;
    const QStringList parts = statements.replace('\n', ';').split(';');
    if (parts.size() > mostStatements)
        throw Failure{QString("--measure has more than %1 statements").arg(mostStatements)};
    for (const QString& part : parts) {
        if (!part.trimmed().isEmpty())
            Statement(part, file, taken, tolerances).read();
    }
    return tolerances;
}

const char* measureHelp() {
    return "Measurements: [NAME =] KIND ... [: TOLERANCE], separated by semicolons\n"
           "  LINE is a template line: its name, or its number from 0 in the order of --lines.\n"
           "  PLACE is an end of a line: LINE.start or LINE.end.\n"
           "  length LINE                 distance of its ends, mm\n"
           "  inclination LINE            direction against the x axis, -180 to 180 degrees\n"
           "  rotation LINE LINE          turn from the first direction to the second, 0 to 180 degrees\n"
           "  angle LINE LINE             angle between the lines where they meet: 180 degrees when they run "
           "on\n"
           "                              straight, more for a left turn, less for a right turn\n"
           "  point LINE POSITION         point on a line: 0 its start, 0.5 its middle, 1 its end\n"
           "  intersection LINE LINE      where the lines, prolonged, meet\n"
           "  between PLACE PLACE [P]     point between two ends; P 0.5 (the middle) unless given;\n"
           "                              without .start or .end: end of the first, start of the second\n"
           "  shift PLACE PLACE DEGREES [ref LINE] [reversed]\n"
           "                              way from place to place along a direction: the reference line "
           "(the\n"
           "                              first line unless given) turned left by DEGREES, mm with sign\n"
           "  distance LINE LINE          from the middle of the first line square to the second line, mm "
           "with\n"
           "                              sign; two shifts at the ends of the first line, averaged\n"
           "  far DX DY                   outermost point of all segments in a direction, and its segment\n"
           "  TOLERANCE is \"12.1 +- 0.05\" or \"12.1 +0.05 -0.02\"; without the first number the value of "
           "the\n"
           "  taught part is the nominal value.\n";
}

}  // namespace KvMeasure
