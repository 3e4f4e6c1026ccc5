#pragma once
// Text tables and JSON on standard output, complaints on standard error.

#include "kvmeasure/matcher.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <functional>
#include <limits>

namespace KvMeasure {

/// Rows of text in columns of equal width; columns that hold numbers only are aligned to the right.
class Table {
public:
    explicit Table(const QStringList& head) { rows_.append(head); }
    void add(const QStringList& row) { rows_.append(row); }
    QString text();

    /// For tables too long for memory: text, after which the rows are forgotten. Later text has no heading
    /// and keeps the alignment; a column widens where it must.
    QString takeText();
    int size() const { return static_cast<int>(rows_.size()); }

private:
    QList<QStringList> rows_;
    QList<int> widths_;
    QList<bool> isRight_;
};

/// With that many decimals, and no sign where all digits are zero.
QString fixed(double value, int decimals);

QString mm(double value);                    ///< four decimals, a tenth of a micrometre
QString percent(double part, double whole);  ///< two decimals; "-" of nothing
QJsonValue jsonNumber(double value);         ///< null for what JSON cannot hold

/// Smallest and largest of the values that came; NaN is none.
struct Span {
    double from = std::numeric_limits<double>::infinity(), to = -from;

    void add(double value);
    bool isEmpty() const { return !(from <= to); }
    QString text(QString (*format)(double value) = mm) const;  ///< "from .. to", "-" when empty
    QJsonValue json() const;                                   ///< null when empty
};

/// Rows "what, value" of a table, and the same as JSON; without a key in the table alone.
struct Facts {
    Table table{{"", "value"}};
    QJsonObject json;

    void add(const char* key, const QString& what, const QString& value, const QJsonValue& number);
    void add(const char* key, const QString& what, double value);  ///< ten digits
    void add(const char* key, const QString& what, const Span& span);
};

/// Writes to standard output; throws Failure when it cannot take it (a full disk).
void print(const QString& text);
void printJson(const QJsonObject& object);

/// One line on standard error, behind the name of the program.
void complain(const QString& text);

/// Does the work for one file after another; what keeps it from one is said, and the others follow. Refused
/// when that occurred.
int forEachFile(const QStringList& paths, const std::function<void(const QString& path)>& work);

QJsonArray jsonPoint(const Vector& point);
QJsonArray jsonSegments(const Segments& segments);
QJsonArray jsonValues(const QList<Value>& values);
QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search);

/// Number, length, direction and ends of each segment.
QString segmentTable(const Segments& segments);

}  // namespace KvMeasure
