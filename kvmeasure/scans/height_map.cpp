// A raw map holds counts alone; their steps and origins stand in a text beside it, found by its name. The
// file must have exactly the bytes that the description needs, since a map read with a wrong width looks like
// a surface too.

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/scans/scan_forms_p.h>

#include <QtCore/QFileInfo>
#include <QtCore/QMap>
#include <QtCore/QtEndian>

namespace KvMeasure {

namespace {

constexpr qint64 kLargestDescription = 65'536;  // bytes
constexpr double kMostColumns = 1'000'000;

/// Values by key; nothing for what cannot be opened or is no such text.
QMap<QString, QString> readKeys(const QString& path) {
    QMap<QString, QString> keys;
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly) || file.size() > kLargestDescription)
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

    const QString& path() const { return path_; }
    bool isEmpty() const { return keys_.isEmpty(); }
    bool has(const QString& key) const { return keys_.contains(key); }
    QString text(const QString& key) const { return keys_.value(key); }

    double number(const QString& key, double minimum, double maximum) const {
        if (!has(key))
            throw Error(QString("%1: the line \"%2,NUMBER\" is missing").arg(path_, key)).inFile(path_);
        double value = 0;
        if (!parseNumber(text(key), value) || !(value >= minimum && value <= maximum))
            throw Error(filledIn("%1: %2 must be a number from %3 to %4, not \"%5\"", path_, key, minimum,
                                 maximum, text(key).left(40)))
                .inFile(path_);
        return value;
    }

    double numberOr(double absent, const QString& key, double minimum, double maximum) const {
        return has(key) ? number(key, minimum, maximum) : absent;
    }

    qint64 integer(const QString& key, double minimum, double maximum) const {
        const double value = number(key, minimum, maximum);
        if (value != double(qint64(value)))
            throw Error(QString("%1: %2 must be a whole number, not \"%3\"").arg(path_, key, text(key)))
                .inFile(path_);
        return qint64(value);
    }

private:
    QString path_;
    QMap<QString, QString> keys_;
};

/// The one that lies beside a map, or an empty one.
Description descriptionBeside(const QString& path) {
    for (const QString& name : mapDescriptionNames(path)) {
        Description description(name);
        if (description.has("columns") && description.has("rows"))
            return description;
    }
    return Description(QString());
}

HeightMap mapOf(const Description& description) {
    constexpr double kWidest = 1e6;  // mm
    constexpr double kFinest = 1e-9;
    constexpr double kMostCounts = 65'535;
    HeightMap map;
    map.path = description.path();
    map.columns = description.integer("columns", 1, kMostColumns);
    map.rows = description.integer("rows", 1, kMostProfiles);
    map.xStep = description.number("x_step_mm", kFinest, kWidest);
    map.xOrigin = description.numberOr(0, "x_origin_mm", -kWidest, kWidest);
    map.rowStep = description.number("row_step_mm", kFinest, kWidest);
    map.rowOrigin = description.numberOr(0, "row_origin_mm", -kWidest, kWidest);
    map.heightStep = description.number("height_step_mm", kFinest, kWidest);
    map.heightOrigin = description.numberOr(0, "height_origin_mm", -kWidest, kWidest);
    if (description.has("no_data_value"))
        map.noData = int(description.integer("no_data_value", 0, kMostCounts));
    const QString order = description.has("byte_order") ? description.text("byte_order") : "little";
    if (order != "little" && order != "big")
        throw Error(QString("%1: byte_order must be little or big, not \"%2\"").arg(map.path, order.left(40)))
            .inFile(map.path);
    map.isBigEndian = order == "big";
    return map;
}

}  // namespace

QStringList mapDescriptionNames(const QString& path) {
    const QFileInfo info(path);
    const QString folder = info.path() + '/';
    return {path + ".meta.csv", folder + info.completeBaseName() + ".meta.csv", folder + "meta.csv"};
}

QString findMapDescription(const QString& path) { return descriptionBeside(path).path(); }

HeightMap readMapDescription(const QString& path) {
    const Description description(path);
    if (description.isEmpty())
        throw Error(QString("%1: is no description of a height map; expected lines \"key,value\"").arg(path))
            .inFile(path);
    return mapOf(description);
}

std::optional<HeightMap> findMap(const QString& path) {
    const Description description = descriptionBeside(path);
    if (description.isEmpty())
        return std::nullopt;
    return mapOf(description);
}

void readHeightMap(QFile& file, const HeightMap& map, const ScanOptions& options, Scan& scan) {
    if (!options.unset.values.empty())
        throw Error(file.fileName() + ": which count stands for nothing stands in " + map.path +
                    ", under no_data_value; leave \1unset\2 out")
            .inFile(file.fileName());

    if (file.size() != map.bytes())
        throw Error(filledIn("%1: holds %2 bytes, %3 rows of %4 columns need %5; it is cut, or the "
                             "description is another map's",
                             file.fileName(), file.size(), map.rows, map.columns, map.bytes()))
            .inFile(file.fileName());
    ProgressReport report(options.progress, file.fileName(), map.rows);
    scan.form = filledIn("height map, %1 rows of %2 columns", map.rows, map.columns);
    scan.isStack = true;
    UnsetWatch watch;  // of counts
    for (qint64 row = 0; row < map.rows; ++row) {
        const QByteArray bytes = file.read(2 * map.columns);
        if (bytes.size() != 2 * map.columns)
            throw Error(QString("%1: cannot be read: %2").arg(file.fileName(), file.errorString()))
                .inFile(file.fileName());
        KvMath::KvProfileZ profile(coordinate(map.rowOrigin + double(row) * map.rowStep));
        for (int column = 0; column < map.columns; ++column) {
            const char* at = bytes.constData() + 2 * column;
            const int count = map.isBigEndian ? qFromBigEndian<quint16>(at) : qFromLittleEndian<quint16>(at);
            if (count == map.noData) {
                ++scan.unset;
                continue;
            }
            watch.add(count, 0);
            scan.add(profile, coordinate(map.xOrigin + column * map.xStep),
                     coordinate(map.heightOrigin + count * map.heightStep));
        }
        scan.add(profile);
        scan.requireRoom(file.fileName());
        report.show(row);
    }
    UnsetWatch::Finding finding;
    if (!options.unset.keepsAll && watch.find(finding))
        scan.doubt = filledIn(
            "%1: the count %2 occurs %3 time(s), far outside all others; does it stand for \"nothing "
            "measured\"? Then write no_data_value,%2 into %4, otherwise give \1unset\2 none",
            file.fileName(), finding.value, finding.count, map.path);
}

}  // namespace KvMeasure
