// Measurements to and from documents and records, and the named results of the uniform kinds. Names and flags
// are read into copies, which are taken over when all could be read. They are assigned element by element,
// since hosts hold pointers to them. Linear in the results.
#include <kvmath/tsearch/measurement.h>

#include <kvmath/base/count_p.h>
#include <kvmath/tsearch/measurement_manager.h>
#include <kvmath/tsearch/stored_fields_p.h>
#include <kvmath/tsearch/type_tag_p.h>

#include <algorithm>
#include <memory>

namespace KvMath {

using namespace Internal;

namespace {

using Infos = std::vector<TSUniformResultInfo>;

constexpr qint32 kMaxNameBytes = 65535;

QString typeKey() { return QStringLiteral("measurementType"); }
QString nameKey() { return QStringLiteral("name"); }
QString activeKey() { return QStringLiteral("isActive"); }

Infos namedInfos(const QStringList& names) {
    Infos infos;
    infos.reserve(static_cast<size_t>(names.size()));
    for (const QString& name : names)
        infos.push_back({name, true});
    return infos;
}

bool isActive(const Infos& infos, int index) {
    return index >= 0 && static_cast<size_t>(index) < infos.size() &&
           infos[static_cast<size_t>(index)].isActive;
}

const QString& nameOf(const Infos& infos, int index) { return infos[static_cast<size_t>(index)].name; }

QVariantList toList(const Infos& infos) {
    QVariantList list;
    for (const TSUniformResultInfo& info : infos)
        list.append(QVariantMap{{nameKey(), info.name}, {activeKey(), info.isActive}});
    return list;
}

bool readInfo(const QVariant& value, TSUniformResultInfo& info) {
    if (value.userType() != QMetaType::QVariantMap)
        return false;
    const QVariantMap map = value.toMap();
    if (map.contains(nameKey())) {
        const QVariant name = map.value(nameKey());
        if (name.userType() != QMetaType::QString)
            return false;
        info.name = name.toString();
    }
    return !map.contains(activeKey()) || readFlag(map.value(activeKey()), info.isActive);
}

/// Infos of one kind; a missing key leaves them. `infos` is a copy that the caller takes over on true.
bool readInfos(const QMap<QString, QVariant>& map, const QString& key, Infos& infos) {
    const auto entry = map.constFind(key);
    if (entry == map.constEnd())
        return true;
    if (entry->userType() != QMetaType::QVariantList)
        return false;
    const QVariantList list = entry->toList();
    if (static_cast<size_t>(list.size()) != infos.size())
        return false;
    for (int k = 0; k < list.size(); ++k) {
        if (!readInfo(list.at(k), infos[static_cast<size_t>(k)]))
            return false;
    }
    return true;
}

bool writeInfos(QDataStream& stream, const Infos& infos) {
    if (!writeRaw(stream, static_cast<qint32>(infos.size())))
        return false;
    for (const TSUniformResultInfo& info : infos) {
        const QByteArray name = info.name.toUtf8();
        const int length = Internal::countOf(name);
        if (length > kMaxNameBytes || !writeRaw(stream, static_cast<qint32>(length)) ||
            stream.writeRawData(name.constData(), length) != length ||
            !writeRaw(stream, static_cast<quint8>(info.isActive ? 1 : 0)))
            return false;
    }
    return true;
}

bool readInfos(QDataStream& stream, Infos& infos) {
    qint32 count = 0;
    if (!readRaw(stream, count) || static_cast<size_t>(count) != infos.size())  // a negative one is huge
        return false;
    for (TSUniformResultInfo& info : infos) {
        qint32 length = 0;
        if (!readRaw(stream, length) || length < 0 || length > kMaxNameBytes)
            return false;
        QByteArray name(length, '\0');
        quint8 active = 0;
        if (stream.readRawData(name.data(), length) != length || !readRaw(stream, active))
            return false;
        info.name = QString::fromUtf8(name);
        info.isActive = active != 0;
    }
    return true;
}

/// Element by element, so that pointers to the elements stay good.
void assignInfos(Infos& to, const Infos& from) { std::copy(from.begin(), from.end(), to.begin()); }

template <class Source>
bool loadInto(TSMeasurement* fresh, Source& source, TSMeasurement*& measurement) {
    std::unique_ptr<TSMeasurement> owner(fresh);
    measurement = nullptr;
    if (owner == nullptr || !owner->load(source))
        return false;
    measurement = owner.release();
    return true;
}

}  // namespace

bool TSMeasurement::saveMeasurement(QMap<QString, QVariant>& map, TSMeasurement* measurement) {
    if (measurement == nullptr)
        return false;
    map.insert(typeKey(), measurement->getType());
    return measurement->save(map);
}

bool TSMeasurement::saveMeasurement(QDataStream& stream, TSMeasurement* measurement) {
    return measurement != nullptr && writeTypeTag(stream, measurement->getType()) &&
           measurement->save(stream);
}

bool TSMeasurement::loadMeasurement(QMap<QString, QVariant>& map, TSMeasurement*& measurement) {
    const QString type = map.value(typeKey()).toString();
    return loadInto(TSManagerOfMeasurements::instance().getMeasurement(type), map, measurement);
}

bool TSMeasurement::loadMeasurement(QDataStream& stream, TSMeasurement*& measurement) {
    measurement = nullptr;
    quint64 tag = 0;
    if (!readTypeTag(stream, tag))
        return false;
    return loadInto(TSManagerOfMeasurements::instance().getMeasurementByTag(tag), stream, measurement);
}

TSUniformMeasurement::TSUniformMeasurement(const QStringList& points, const QStringList& lines,
                                           const QStringList& angles)
    : points_(namedInfos(points)), lines_(namedInfos(lines)), angles_(namedInfos(angles)) {}

bool TSUniformMeasurement::isValid() { return valid_; }

bool TSUniformMeasurement::save(QMap<QString, QVariant>& map) {
    if (!saveConcreteUniform(map))
        return false;
    map.insert(QStringLiteral("pointsInfos"), toList(points_));
    map.insert(QStringLiteral("linesInfos"), toList(lines_));
    map.insert(QStringLiteral("anglesInfos"), toList(angles_));
    return true;
}

bool TSUniformMeasurement::save(QDataStream& stream) {
    return saveConcreteUniform(stream) && writeInfos(stream, points_) && writeInfos(stream, lines_) &&
           writeInfos(stream, angles_);
}

bool TSUniformMeasurement::load(QMap<QString, QVariant>& map) {
    Infos points = points_;
    Infos lines = lines_;
    Infos angles = angles_;
    if (!readInfos(map, QStringLiteral("pointsInfos"), points) ||
        !readInfos(map, QStringLiteral("linesInfos"), lines) ||
        !readInfos(map, QStringLiteral("anglesInfos"), angles) || !loadConcreteUniform(map))
        return false;
    assignInfos(points_, points);
    assignInfos(lines_, lines);
    assignInfos(angles_, angles);
    return true;
}

bool TSUniformMeasurement::load(QDataStream& stream) {
    Infos points = points_;
    Infos lines = lines_;
    Infos angles = angles_;
    if (!loadConcreteUniform(stream) || !readInfos(stream, points) || !readInfos(stream, lines) ||
        !readInfos(stream, angles))
        return false;
    assignInfos(points_, points);
    assignInfos(lines_, lines);
    assignInfos(angles_, angles);
    return true;
}

TSUniformResults TSUniformMeasurement::getUniformResult() {
    TSUniformResults results;
    for (const TSUniformResultPoint& point : resultPoints_)
        results.points.append(point);
    for (const TSUniformResultLine& line : resultLines_)
        results.lines.append(line);
    for (const TSUniformResultAngle& angle : resultAngles_)
        results.angles.append(angle);
    return results;
}

QList<QPair<QString*, bool*>> TSUniformMeasurement::getUniformResultsInfoAll() {
    QList<QPair<QString*, bool*>> all;
    for (Infos* infos : {&points_, &lines_, &angles_}) {
        for (TSUniformResultInfo& info : *infos)
            all.append({&info.name, &info.isActive});
    }
    return all;
}

void TSUniformMeasurement::clearResults() {
    resultPoints_.clear();
    resultLines_.clear();
    resultAngles_.clear();
    valid_ = false;
}

bool TSUniformMeasurement::succeed() {
    valid_ = true;
    return true;
}

bool TSUniformMeasurement::assignedSegment(const QList<LinePP>& lines, const TSLinesIndecies& indices,
                                           int templateLine, int& segment) {
    return indices.isAssigned(templateLine) && indices.getLineIndex(templateLine, segment) &&
           segment < lines.size();
}

bool TSUniformMeasurement::assignedLine(const QList<LinePP>& lines, const TSLinesIndecies& indices,
                                        int templateLine, LinePP& line) {
    return indices.getLine(lines, templateLine, line);
}

void TSUniformMeasurement::addPoint(int index, const KvVector2D<double>& point) {
    if (isActive(points_, index))
        resultPoints_.push_back({point, nameOf(points_, index)});
}

void TSUniformMeasurement::addLine(int index, const KvVector2D<double>& p1, const KvVector2D<double>& p2,
                                   double value) {
    if (isActive(lines_, index))
        resultLines_.push_back({p1, p2, value, nameOf(lines_, index)});
}

void TSUniformMeasurement::addAngle(int index, const KvVector2D<double>& vertex,
                                    const KvVector2D<double>& first, const KvVector2D<double>& second,
                                    double value) {
    if (isActive(angles_, index))
        resultAngles_.push_back({vertex, first, second, value, nameOf(angles_, index)});
}

bool TSUniformMeasurement::isAngleActive(int index) const { return isActive(angles_, index); }

}  // namespace KvMath
