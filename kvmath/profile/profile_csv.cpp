// Text form of a profile: "x;y" lines with decimal commas.

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>

#include <kvmath/core/record_io_p.h>

#include <QtCore/QDebug>
#include <QtCore/QTextStream>

#include <algorithm>

namespace KvMath {
namespace {

constexpr int kLongestLine =
    1 << 20;  ///< characters; bounds the memory that a file without line feeds can take

/// The field at `column` (>= 0) of a line parted by semicolons; false when the line has no more fields than
/// that.
bool takeField(const QString& line, int column, QString& field) {
    int from = 0;
    for (; column > 0; --column) {
        from = static_cast<int>(line.indexOf(QLatin1Char(';'), from)) + 1;
        if (from == 0)
            return false;
    }
    const auto end = line.indexOf(QLatin1Char(';'), from);
    field = line.mid(from, end < 0 ? -1 : end - from);
    return true;
}

float numberOf(QString field) {
    return static_cast<float>(
        field.replace(QLatin1Char(','), QLatin1Char('.')).toDouble());  // 0 if unreadable
}

}  // namespace

int KvProfile::readFromCSVFile(QString path, int xColumn, int yColumn) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << file.errorString();
        return Internal::countOf(points);
    }
    clear();
    QTextStream stream(&file);
    QString line;
    QString x;
    QString y;
    while (stream.readLineInto(&line, kLongestLine) && !line.isEmpty() && line.size() < kLongestLine) {
        if (std::min(xColumn, yColumn) < 0)
            continue;
        if (takeField(line, xColumn, x) && takeField(line, yColumn, y))
            points.append(KvPointXY(numberOf(x), numberOf(y)));
    }
    return Internal::countOf(points);
}

bool KvProfile::writeToCSVFile(QString path) const {
    bool isOpen = false;
    Internal::writeFile(path, QIODevice::ReadWrite | QIODevice::Truncate, [&](QFile& file) {
        isOpen = true;
        bool isWritten = true;
        for (const KvPointXY& p : points) {
            QByteArray line = QByteArray::number(static_cast<double>(p.x), 'g', 6);
            line += ';';
            line += QByteArray::number(static_cast<double>(p.y), 'g', 6);
            line += '\n';
            line.replace('.', ',');
            isWritten = isWritten && Internal::writeBytes(file, line.constData(), line.size());
        }
        return isWritten;
    });
    return isOpen;  // by design, also when not all was written
}

}  // namespace KvMath
