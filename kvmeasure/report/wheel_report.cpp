#include "kvmeasure/wheel_report.h"

#include "kvmeasure/print.h"

#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace KvMeasure {

namespace {

constexpr int valueCount = 11;
const char* const namesOfValues[valueCount] = {
    "flangeHeight", "position18",      "rimBelowFlange",  "rimBelowTread",   "rimX",    "rimY",
    "rimFace",      "runningDiameter", "heightDeviation", "flangeThickness", "reserved"};
const char* const kindNames[] = {"basic", "tram", "loko"};

QString rounded(double value) { return std::isfinite(value) ? fixed(value, 3) : QString("-"); }

QString defectText(int defect) { return defect < 0 ? "-" : (defect > 0 ? "DEFECT" : "none"); }

double runningDiameter(const WheelResult& wheel) {
    return 2 * (static_cast<double>(wheel.circle.radius) - wheel.values.value[0]);
}

QStringList heading(const WheelColumns& columns) {
    QStringList head{"wheelset", "travel_mm", "side"};
    if (columns.hasSections)
        head << "flange_height"
             << "flange_thickness"
             << "position_18"
             << "height_deviation"
             << "radius"
             << "running_diameter";
    if (columns.hasDistances)
        head << "back_to_back";
    if (columns.hasDefects)
        head << "defect";
    return head;
}

QStringList row(const WheelsetResult& wheelset, int number, int side, const WheelColumns& columns) {
    const WheelResult& wheel = wheelset.wheels[side];
    const double z = static_cast<double>(wheelset.z);
    QStringList cells{QString::number(number), std::isnan(z) ? QString("-") : QString::number(z, 'f', 0),
                      sideName(side)};
    if (columns.hasSections) {
        for (const int i : {0, 9, 1, 8})
            cells << rounded(wheel.values.value[i]);
        cells << rounded(static_cast<double>(wheel.circle.radius)) << rounded(runningDiameter(wheel));
    }
    if (columns.hasDistances)
        cells << rounded(wheelset.backToBack);
    if (columns.hasDefects)
        cells << defectText(wheel.defect);
    return cells;
}

template <class Add>
void forEachRow(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns, Add add) {
    for (int w = 0; w < wheelsets.size(); ++w) {
        for (const int side : {Left, Right})
            add(row(wheelsets.at(w), w + 1, side, columns), wheelsets.at(w), side);
    }
}

QStringList notesOf(const WheelsetResult& wheelset, int side) {
    return wheelset.notes + wheelset.wheels[side].notes;
}

QJsonObject sideJson(const WheelResult& wheel, const WheelColumns& columns) {
    QJsonObject json;
    if (columns.hasSections) {
        json = wheelValuesJson(wheel.values);
        json["radius"] = jsonNumber(static_cast<double>(wheel.circle.radius));
        json["centre"] = QJsonArray{jsonNumber(static_cast<double>(wheel.circle.x)),
                                    jsonNumber(static_cast<double>(wheel.circle.y))};
        json["record"] = wheel.record < 0 ? QJsonValue() : QJsonValue(wheel.record);
        json["runningDiameter"] = jsonNumber(runningDiameter(wheel));
    }
    if (columns.hasDefects)
        json["defect"] = wheel.defect < 0 ? QJsonValue() : QJsonValue(wheel.defect > 0);
    if (!wheel.notes.isEmpty())
        json["notes"] = QJsonArray::fromStringList(wheel.notes);
    return json;
}

}  // namespace

QJsonObject wheelValuesJson(const KvMath::_WheelProfileValues& values) {
    QJsonObject json{{"kind", kindNames[values.wheelType % 3]}};
    for (int i = 0; i + 1 < valueCount; ++i)
        json[namesOfValues[i]] = jsonNumber(values.value[i]);
    return json;
}

QStringList wheelKinds() { return {std::begin(kindNames), std::end(kindNames)}; }

QString wheelTable(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns) {
    QStringList head = heading(columns);
    head.replaceInStrings("_", " ");
    Table table(head << "notes");
    forEachRow(wheelsets, columns, [&](QStringList cells, const WheelsetResult& wheelset, int side) {
        table.add(cells << notesOf(wheelset, side).join("; "));
    });
    return table.text();
}

QByteArray wheelCsv(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns) {
    QString text = (heading(columns) << "notes").join(',') + '\n';
    forEachRow(wheelsets, columns, [&](QStringList cells, const WheelsetResult& wheelset, int side) {
        for (QString& cell : cells) {
            if (cell == "-")
                cell.clear();
        }
        text += (cells << '"' + notesOf(wheelset, side).join("; ") + '"').join(',') + '\n';
    });
    return text.toUtf8();
}

QJsonObject wheelJson(const WheelPass& pass, const WheelColumns& columns) {
    QJsonArray recordings, wheelsets;
    for (const Recording& recording : pass.recordings()) {
        QJsonArray runs;
        for (const KvMath::WheelPassage& wheel : recording.wheels)
            runs.append(QJsonObject{{"firstRecord", wheel.records.first()},
                                    {"lastRecord", wheel.records.last()},
                                    {"profiles", wheel.records.size()}});
        recordings.append(QJsonObject{
            {"file", recording.path},
            {"sensor", recording.index},
            {"records", recording.records},
            {"runs", runs},
            {"wheelFiles", recording.directory()},
            {"damagedAt", recording.damagedAt < 0 ? QJsonValue() : QJsonValue(recording.damagedAt)}});
    }
    for (int w = 0; w < pass.wheelsets().size(); ++w) {
        const WheelsetResult& wheelset = pass.wheelsets().at(w);
        QJsonObject json{{"wheelset", w + 1},
                         {"firstRecord", wheelset.firstRecord},
                         {"lastRecord", wheelset.lastRecord},
                         {"travel", jsonNumber(static_cast<double>(wheelset.z))},
                         {"notes", QJsonArray::fromStringList(wheelset.notes)}};
        if (columns.hasDistances)
            json["backToBack"] = jsonNumber(wheelset.backToBack);
        for (const int side : {Left, Right})
            json[sideName(side)] = sideJson(wheelset.wheels[side], columns);
        wheelsets.append(json);
    }
    return {{"recordings", recordings},
            {"wheelsets", wheelsets},
            {"notes", QJsonArray::fromStringList(pass.notes())}};
}

QByteArray wheelRecords(const QList<WheelsetResult>& wheelsets) {
    QByteArray bytes;
    for (const WheelsetResult& wheelset : wheelsets) {
        for (const WheelResult& wheel : wheelset.wheels) {
            bytes.append(static_cast<char>(wheel.values.wheelType));
            for (int i = 0; i < valueCount; ++i) {
                const double value = wheel.values.value[i];
                quint64 bits = 0;
                std::memcpy(&bits, &value, sizeof bits);
                bits = qToLittleEndian(bits);
                bytes.append(reinterpret_cast<const char*>(&bits), sizeof bits);
            }
        }
    }
    return bytes;
}

QString runTable(const WheelPass& pass) {
    Table table({"scanner", "recording", "records", "wheels", "profiles of a wheel"});
    for (const Recording& recording : pass.recordings()) {
        int least = 0, most = 0;
        for (const KvMath::WheelPassage& wheel : recording.wheels) {
            const int records = static_cast<int>(wheel.records.size());
            least = least == 0 ? records : std::min(least, records);
            most = std::max(most, records);
        }
        table.add({sensorName(recording.index), QFileInfo(recording.path).fileName(),
                   QString::number(recording.records), QString::number(recording.wheels.size()),
                   QString("%1 to %2").arg(least).arg(most)});
    }
    return table.text();
}

}  // namespace KvMeasure
