#include <kvmeasure/report/csv_row.h>

#include <kvmeasure/base/text.h>

namespace KvMeasure {

QString csvRow(QStringList fields) {
    bool isFirst = true;
    for (QString& field : fields) {
        field = printable(field);
        if ((isFirst && field.startsWith('#')) || field.contains(',') || field.contains('"'))
            field = '"' + field.replace('"', "\"\"") + '"';
        isFirst = false;
    }
    return fields.join(',') + '\n';
}

QList<QByteArray> csvFields(const QByteArray& line) {
    QList<QByteArray> fields;
    QByteArray field;
    bool isQuoted = false, wasQuoted = false;
    for (const char letter : line) {
        if (letter == '"') {
            // A pair of them within quotation marks leaves and enters again.
            if (!isQuoted && wasQuoted)
                field += letter;
            isQuoted = !isQuoted;
            wasQuoted = true;
        } else if (!isQuoted && (letter == ',' || letter == '\n')) {
            fields.append(field);
            field.clear();
            wasQuoted = false;
            if (letter == '\n')
                return fields;
        } else {
            field += letter;
        }
    }
    fields.append(field);
    return fields;
}

}  // namespace KvMeasure
