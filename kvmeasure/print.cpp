#include "kvmeasure/print.h"

#include "kvmeasure/failure.h"

#include <QtCore/QJsonDocument>

#include <cerrno>
#include <cmath>
#include <cstdio>

namespace KvMeasure {

namespace {

bool isNumeric(const QList<QStringList>& rows, int column) {
    for (int i = 1; i < rows.size(); ++i) {
        bool ok = false;
        const QString cell = rows[i].value(column);
        cell.toDouble(&ok);
        if (!ok && !cell.isEmpty() && cell != "-")
            return false;
    }
    return true;
}

}  // namespace

QString Table::text() {
    QString text;
    const int columns = rows_.isEmpty() ? 0 : static_cast<int>(rows_.first().size());
    for (int column = static_cast<int>(widths_.size()); column < columns; ++column) {
        widths_.append(0);
        isRight_.append(isNumeric(rows_, column));
    }
    for (const QStringList& row : rows_) {
        for (int column = 0; column < columns; ++column)
            widths_[column] = qMax(widths_[column], static_cast<int>(row.value(column).size()));
    }
    for (const QStringList& row : rows_) {
        QString line;
        for (int column = 0; column < columns; ++column) {
            const QString cell = row.value(column);
            line += (isRight_[column] ? cell.rightJustified(widths_[column])
                                      : cell.leftJustified(widths_[column])) +
                    "  ";
        }
        while (line.endsWith(' '))
            line.chop(1);
        text += line + '\n';
    }
    return text;
}

QString Table::takeText() {
    QString taken = text();
    rows_.clear();
    return taken;
}

void print(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    errno = 0;
    if (std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stdout) !=
            static_cast<std::size_t>(bytes.size()) ||
        std::fflush(stdout) != 0)
        throw Failure{"standard output cannot be written: " + qt_error_string(errno)};
}

void complain(const QString& text) { std::fprintf(stderr, "kvmeasure: %s\n", text.toUtf8().constData()); }

int forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work) {
    int code = Done;
    for (const QString& path : paths) {
        try {
            work(path);
        } catch (const Failure& failure) {
            complain(failure.text);
            code = Refused;
        }
    }
    return code;
}

void Span::add(double value) {
    from = std::fmin(from, value);
    to = std::fmax(to, value);
}

QString Span::text(QString (*format)(double value)) const {
    return isEmpty() ? QString("-") : format(from) + " .. " + format(to);
}

QJsonValue Span::json() const {
    return isEmpty() ? QJsonValue() : QJsonValue(QJsonArray{jsonNumber(from), jsonNumber(to)});
}

void Facts::add(const char* key, const QString& what, const QString& value, const QJsonValue& number) {
    table.add({what, value});
    if (*key != '\0')
        json[key] = number;
}

void Facts::add(const char* key, const QString& what, double value) {
    constexpr int digits = 10;
    add(key, what, QString::number(value + 0.0, 'g', digits), jsonNumber(value));  // no -0
}

void Facts::add(const char* key, const QString& what, const Span& span) {
    add(key, what, span.text(), span.json());
}

void printJson(const QJsonObject& object) { print(QString::fromUtf8(QJsonDocument(object).toJson())); }

QString fixed(double value, int decimals) {
    const QString text = QString::number(value, 'f', decimals);
    return text.startsWith('-') && text.toDouble() == 0 ? text.mid(1) : text;
}

QString mm(double value) {
    constexpr double widest = 1e7;  // no scanner sees that far; such numbers come from damaged files
    return std::fabs(value) < widest ? fixed(value, 4) : QString::number(value, 'g', 6);
}

QString percent(double part, double whole) {
    constexpr double hundred = 100;
    return whole > 0 ? QString::number(hundred * part / whole, 'f', 2) + " %" : QString("-");
}

QJsonValue jsonNumber(double value) { return std::isfinite(value) ? QJsonValue(value) : QJsonValue(); }

QJsonArray jsonPoint(const Vector& point) { return {jsonNumber(point.x), jsonNumber(point.y)}; }

QJsonArray jsonSegments(const Segments& segments) {
    QJsonArray array;
    for (const KvMath::LinePP& segment : segments)
        array.append(QJsonObject{{"p1", jsonPoint(segment.p1)},
                                 {"p2", jsonPoint(segment.p2)},
                                 {"length", jsonNumber(length(segment.p1, segment.p2))}});
    return array;
}

QJsonArray jsonValues(const QList<Value>& values) {
    QJsonArray array;
    for (const Value& value : values) {
        QJsonObject entry{{"name", value.name},
                          {"value", value.isValid ? jsonNumber(value.value) : QJsonValue()},
                          {"unit", value.unit},
                          {"valid", value.isValid}};
        if (!value.note.isEmpty())
            entry["note"] = value.note;
        if (value.hasTolerance) {
            entry["nominal"] = value.tolerance.nominal;
            entry["lower"] = value.tolerance.lower;
            entry["upper"] = value.tolerance.upper;
            entry["deviation"] = value.isValid ? jsonNumber(value.deviation()) : QJsonValue();
            entry["withinTolerance"] = value.isGood();
        }
        array.append(entry);
    }
    return array;
}

QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search) {
    return {{"contourGap", search.contourGap},       {"splitTolerance", search.splitTolerance},
            {"minLineLength", search.minLineLength}, {"cornerTolerance", search.cornerTolerance},
            {"allowReversed", search.allowReversed}, {"refineIterations", search.refineIterations}};
}

QString segmentTable(const Segments& segments) {
    Table table({"segment", "length mm", "direction deg", "x1", "y1", "x2", "y2"});
    for (int i = 0; i < segments.size(); ++i) {
        const KvMath::LinePP& s = segments[i];
        table.add({QString::number(i), mm(length(s.p1, s.p2)), fixed(direction(s), 2), mm(s.p1.x), mm(s.p1.y),
                   mm(s.p2.x), mm(s.p2.y)});
    }
    return table.text();
}

}  // namespace KvMeasure
