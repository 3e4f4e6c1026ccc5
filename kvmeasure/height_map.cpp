#include "kvmeasure/arguments.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/progress.h"
#include "kvmeasure/scan_forms.h"

#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QtEndian>

namespace KvMeasure {

namespace {

constexpr qint64 largestDescription = 65'536;  // bytes
constexpr double mostColumns = 1'000'000;

/// Values by key; nothing for what cannot be opened or is no such text.
QMap<QString, QString> readKeys(const QString& path) {
    QMap<QString, QString> keys;
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > largestDescription)
        return keys;
    const QByteArray content = file.readAll();
    for (const QByteArray& line : content.split('\n')) {
        const int comma = static_cast<int>(line.indexOf(','));
        if (comma > 0)
            keys[QString::fromUtf8(line.left(comma)).trimmed()] =
                QString::fromUtf8(line.mid(comma + 1)).trimmed();
    }
    return keys;
}

/// Numbers of a description, each within its range.
class Description {
public:
    explicit Description(const QString& path) : path_(path), keys_(readKeys(path)) {}

    bool isEmpty() const { return keys_.isEmpty(); }
    bool has(const QString& key) const { return keys_.contains(key); }
    QString text(const QString& key) const { return keys_.value(key); }

    double number(const QString& key, double minimum, double maximum) const {
        if (!has(key))
            throw Failure{QString("%1: the line \"%2,NUMBER\" is missing").arg(path_, key)};
        double value = 0;
        if (!parseNumber(text(key), value) || !(value >= minimum && value <= maximum))
            throw Failure{QString("%1: %2 must be a number from %3 to %4, not \"%5\"")
                              .arg(path_, key)
                              .arg(minimum)
                              .arg(maximum)
                              .arg(text(key).left(40))};
        return value;
    }

    double numberOr(double absent, const QString& key, double minimum, double maximum) const {
        return has(key) ? number(key, minimum, maximum) : absent;
    }

    qint64 integer(const QString& key, double minimum, double maximum) const {
        const double value = number(key, minimum, maximum);
        if (value != double(qint64(value)))
            throw Failure{QString("%1: %2 must be a whole number, not \"%3\"").arg(path_, key, text(key))};
        return qint64(value);
    }

private:
    QString path_;
    QMap<QString, QString> keys_;
};

}  // namespace

QString findMapDescription(const QString& path) {
    const QFileInfo info(path);
    const QString folder = info.path() + '/';
    for (const QString& name :
         {path + ".meta.csv", folder + info.completeBaseName() + ".meta.csv", folder + "meta.csv"}) {
        const Description description(name);
        if (description.has("columns") && description.has("rows"))
            return name;
    }
    return QString();
}

HeightMap readMapDescription(const QString& path) {
    constexpr double widest = 1e6;  // mm
    constexpr double finest = 1e-9;
    constexpr double mostCounts = 65'535;
    const Description description(path);
    if (description.isEmpty())
        throw Failure{
            QString("%1: is no description of a height map; expected lines \"key,value\"").arg(path)};
    HeightMap map;
    map.columns = description.integer("columns", 1, mostColumns);
    map.rows = description.integer("rows", 1, mostProfiles);
    map.xStep = description.number("x_step_mm", finest, widest);
    map.xOrigin = description.numberOr(0, "x_origin_mm", -widest, widest);
    map.rowStep = description.number("row_step_mm", finest, widest);
    map.rowOrigin = description.numberOr(0, "row_origin_mm", -widest, widest);
    map.heightStep = description.number("height_step_mm", finest, widest);
    map.heightOrigin = description.numberOr(0, "height_origin_mm", -widest, widest);
    if (description.has("no_data_value"))
        map.noData = int(description.integer("no_data_value", 0, mostCounts));
    const QString order = description.has("byte_order") ? description.text("byte_order") : "little";
    if (order != "little" && order != "big")
        throw Failure{QString("%1: byte_order must be little or big, not \"%2\"").arg(path, order.left(40))};
    map.isBigEndian = order == "big";
    return map;
}

void readHeightMap(QFile& file, const HeightMap& map, Scan& scan) {
    if (file.size() != map.bytes())
        throw Failure{QString("%1: holds %2 bytes, %3 rows of %4 columns need %5; it is cut, or the "
                              "description is another map's")
                          .arg(file.fileName())
                          .arg(file.size())
                          .arg(map.rows)
                          .arg(map.columns)
                          .arg(map.bytes())};
    Progress progress(file.fileName(), map.rows);
    scan.form = QString("height map, %1 rows of %2 columns").arg(map.rows).arg(map.columns);
    scan.isStack = true;
    for (qint64 row = 0; row < map.rows; ++row) {
        const QByteArray bytes = file.read(2 * map.columns);
        if (bytes.size() != 2 * map.columns)
            throw Failure{QString("%1: cannot be read: %2").arg(file.fileName(), file.errorString())};
        KvMath::KvProfileZ profile(coordinate(map.rowOrigin + double(row) * map.rowStep));
        for (int column = 0; column < map.columns; ++column) {
            const char* at = bytes.constData() + 2 * column;
            const int count = map.isBigEndian ? qFromBigEndian<quint16>(at) : qFromLittleEndian<quint16>(at);
            if (count == map.noData)
                ++scan.unset;
            else
                scan.add(profile, coordinate(map.xOrigin + column * map.xStep),
                         coordinate(map.heightOrigin + count * map.heightStep));
        }
        scan.add(profile);
        scan.requireRoom(file.fileName());
        progress.show(row);
    }
}

}  // namespace KvMeasure
