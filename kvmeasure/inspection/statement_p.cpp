#include <kvmeasure/inspection/statement_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <memory>

namespace KvMeasure::Internal {

Statement::Statement(const QString& text, InspectionPlan& plan, QSet<QString>& taken)
    : text_(text.simplified()), plan_(plan), taken_(taken) {
    const int colon = static_cast<int>(text_.indexOf(':'));
    hasTolerance_ = colon >= 0;
    tolerance_ = hasTolerance_ ? text_.mid(colon + 1) : QString();
    const QString measured = hasTolerance_ ? text_.left(colon) : text_;
    const int equals = static_cast<int>(measured.indexOf('='));
    const QString words = measured.mid(equals + 1).simplified();
    name_ = equals < 0 ? words : measured.left(equals).trimmed();
    if (equals >= 0 && name_.isEmpty())
        fail("expected a name before \"=\"");
    words_ = words.split(' ');
}

void Statement::fail(const QString& reason) const {
    throw Error(QString("\1measure\2 \"%1\": %2 (see \"kvmeasure teach --help\")").arg(text_, reason));
}

QString Statement::take(const QString& expected) {
    if (atEnd())
        fail(QString("expected %1 at the end").arg(expected));
    return words_.takeFirst();
}

double Statement::takeNumber(const QString& expected, const QStringList& units) {
    const QString word = take(expected);
    double value = 0;
    if (!parseQuantity(word, units, value))
        fail(QString("expected %1, found \"%2\"").arg(expected, word));
    return value;
}

bool Statement::findPlace(const QString& word, Place& place) const {
    QString line = word;
    if (word.endsWith(".start") || word.endsWith(".end")) {
        place.end = word.endsWith(".end") ? Place::Finish : Place::Start;
        line = word.left(word.lastIndexOf('.'));
    }
    place.line = static_cast<int>(plan_.lineNames.indexOf(line));
    if (place.line >= 0)
        return true;
    bool isNumber = false;
    place.line = line.toInt(&isNumber);
    return isNumber && place.line >= 0 && place.line < static_cast<int>(plan_.lineNames.size());
}

bool Statement::isLine(const QString& word) const {
    Place place;
    return findPlace(word, place);
}

Place Statement::takePlace() {
    const QString word = take("a template line");
    Place place;
    if (findPlace(word, place))
        return place;
    const QString line = place.end == Place::Unwritten ? word : word.left(word.lastIndexOf('.'));
    fail(filledIn("\"%1\" is no template line; expected 0 to %2 or a name (%3)%4", line,
                  plan_.lineNames.size() - 1, plan_.lineNames.join(", "), suggestion(line, plan_.lineNames)));
}

int Statement::takeLine() {
    const Place place = takePlace();
    if (place.end != Place::Unwritten)
        fail("a line is meant here; leave out \".start\" or \".end\", or take \"shift\" or \"between\"");
    return place.line;
}

void Statement::claim(const QList<ValueName>& results) {
    for (const ValueName& result : results) {
        if (taken_.contains(result.name))
            fail(QString("there is a result \"%1\" already; give another name: NAME = ...").arg(result.name));
        taken_.insert(result.name);
    }
}

void Statement::add(KvMath::TSMeasurement* measurement) {
    std::unique_ptr<KvMath::TSMeasurement> owner(measurement);
    claim(valueNames(*measurement));
    if (!plan_.measurements.addMeasurement(measurement))
        fail("cannot be added");
    static_cast<void>(owner.release());
}

}  // namespace KvMeasure::Internal
