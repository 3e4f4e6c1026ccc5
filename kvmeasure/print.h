#pragma once
// Text tables and JSON on standard output.

#include "kvmeasure/matcher.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

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
    int size() const { return rows_.size(); }

private:
    QList<QStringList> rows_;
    QList<int> widths_;
    QList<bool> isRight_;
};

/// Writes to standard output; throws Failure when it cannot take it (a full disk).
void print(const QString& text);
void printJson(const QJsonObject& object);

QString mm(double value);             ///< four decimals, a tenth of a micrometre
QJsonValue jsonNumber(double value);  ///< null for what JSON cannot hold
QJsonArray jsonPoint(const Vector& point);
QJsonArray jsonSegments(const Segments& segments);
QJsonArray jsonValues(const QList<Value>& values);
QJsonObject jsonSearch(const KvMath::TSFindTemplateParams& search);

/// Number, length, direction and ends of each segment.
QString segmentTable(const Segments& segments);

}  // namespace KvMeasure
