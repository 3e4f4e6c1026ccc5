// The results of a pass as table, CSV, JSON and records. One table names the columns; heading, rows and notes
// go through it. Each missing uncertainty beside a value gets its reason in the notes.
#include <kvmeasure/report/wheel_report.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/section_report.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace KvMeasure {

namespace {

constexpr int kValueCount = 11;
const char* const namesOfValues[kValueCount] = {
    "flangeHeight", "thicknessFromBack", "rimBelowFlange",  "rimBelowTread",   "rimX",    "rimY",
    "rimFace",      "runningDiameter",   "heightDeviation", "flangeSteepness", "reserved"};
const char* const backNames[] = {"seen", "assumed", "given"};
const char* const kindNames[] = {"basic", "tram", "loko"};

QString rounded(double value) { return std::isfinite(value) ? fixed(value, 3) : QString("-"); }

QString defectText(int defect) { return defect < 0 ? "-" : (defect > 0 ? "DEFECT" : "none"); }

double runningDiameter(const WheelResult& wheel) {
    return 2 * (static_cast<double>(wheel.circle.radius) - wheel.values.value[0]);
}

/// Names of the columns of values, of their expanded uncertainties, and the keys of both.
struct ValueColumn {
    const char *name, *key;
};
const ValueColumn sectionColumns[] = {{"flange_height", "flangeHeight"},
                                      {"thickness_from_back", "thicknessFromBack"},
                                      {"flange_steepness", "flangeSteepness"},
                                      {"height_deviation", "heightDeviation"},
                                      {"nominal_height", nullptr},
                                      {"radius", "radius"},
                                      {"running_diameter", "runningDiameter"}};

QStringList heading(const WheelColumns& columns) {
    QStringList head{"wheelset", "travel_mm", "side"};
    const auto add = [&](const QString& name, bool hasUncertainty) {
        head << name;
        if (hasUncertainty)
            head << name + "_U";
    };
    for (const ValueColumn& column : sectionColumns) {
        if (columns.hasSections)
            add(column.name, column.key != nullptr);
    }
    if (columns.hasDistances)
        add("back_to_back", true);
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
        const double values[] = {wheel.values.value[0], wheel.values.value[1],
                                 wheel.values.value[9], wheel.values.value[8],
                                 wheel.nominal,         static_cast<double>(wheel.circle.radius),
                                 runningDiameter(wheel)};
        for (std::size_t i = 0; i < std::size(values); ++i) {
            const char* key = sectionColumns[i].key;
            cells << (key == nullptr ? nominalText(values[i]) : rounded(values[i]));
            if (key != nullptr)
                cells << rounded(wheel.uncertainties.value(key).expanded());
        }
    }
    if (columns.hasDistances)
        cells << rounded(wheelset.backToBack) << rounded(wheelset.backToBackUncertainty.expanded());
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

/// With the reasons of uncertainties that are missing beside values which are there.
QStringList notesOf(const WheelsetResult& wheelset, int side, const WheelColumns& columns) {
    const WheelResult& wheel = wheelset.wheels[side];
    QStringList notes = wheelset.notes + wheel.notes;
    const QJsonObject values = wheelValuesJson(wheel);
    QMap<QString, QStringList> names;  // by the reason
    const auto add = [&](const QString& name, const StandardUncertainty& uncertainty) {
        if (!uncertainty.isKnown() && !uncertainty.reason.isEmpty())
            names[uncertainty.reason] << name;
    };
    for (const ValueColumn& column : sectionColumns) {
        if (columns.hasSections && column.key != nullptr && !values[column.key].isNull())
            add(QString(column.name).replace('_', ' '), wheel.uncertainties.value(column.key));
    }
    if (columns.hasDistances && std::isfinite(wheelset.backToBack))
        add("back to back", wheelset.backToBackUncertainty);
    for (auto each = names.begin(); each != names.end(); ++each)
        notes << "no U of " + each.value().join(", ") + ": " + each.key();
    return notes;
}

QJsonObject sideJson(const WheelResult& wheel, const WheelColumns& columns) {
    QJsonObject json;
    if (columns.hasSections) {
        json = wheelValuesJson(wheel);
        json["centre"] = QJsonArray{jsonNumber(static_cast<double>(wheel.circle.x)),
                                    jsonNumber(static_cast<double>(wheel.circle.y))};
        json["record"] = wheel.record < 0 ? QJsonValue() : QJsonValue(wheel.record);
        QJsonObject uncertainties;
        for (auto each = wheel.uncertainties.begin(); each != wheel.uncertainties.end(); ++each)
            uncertainties[each.key()] = uncertaintyJson(each.value());
        json["uncertainties"] = uncertainties;
    }
    if (columns.hasDefects)
        json["defect"] = wheel.defect < 0 ? QJsonValue() : QJsonValue(wheel.defect > 0);
    json["notes"] = QJsonArray::fromStringList(wheel.notes);
    return json;
}

}  // namespace

QString nominalText(double nominal) {
    return std::isfinite(nominal) ? QString::number(nominal, 'g', 7) : QString("-");
}

QJsonObject wheelValuesJson(const WheelResult& wheel) {
    QJsonObject json{{"kind", kindNames[wheel.values.wheelType % 3]},
                     {"radius", jsonNumber(static_cast<double>(wheel.circle.radius))},
                     {"nominalHeight", jsonNumber(wheel.nominal)},
                     {"flangeBack", std::isnan(wheel.backY)
                                        ? QJsonValue()
                                        : QJsonValue(backNames[static_cast<int>(wheel.back)])}};
    for (int i = 0; i + 1 < kValueCount; ++i)
        json[namesOfValues[i]] = jsonNumber(wheel.values.value[i]);
    json["runningDiameter"] = jsonNumber(runningDiameter(wheel));
    return json;
}

QStringList wheelKinds() { return {std::begin(kindNames), std::end(kindNames)}; }

QString wheelTable(const QList<WheelsetResult>& wheelsets, const WheelColumns& columns) {
    QStringList head = heading(columns);
    head.replaceInStrings(QRegularExpression("^.*_U$"), "U");
    head.replaceInStrings("_", " ");
    Table table(head << "notes");
    forEachRow(wheelsets, columns, [&](QStringList cells, const WheelsetResult& wheelset, int side) {
        table.add(cells << notesOf(wheelset, side, columns).join("; "));
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
        const QString notes = notesOf(wheelset, side, columns).join("; ").replace('"', "\"\"");
        text += (cells << '"' + notes + '"').join(',') + '\n';
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
        if (columns.hasDistances) {
            json["backToBack"] = jsonNumber(wheelset.backToBack);
            json["uncertainties"] =
                QJsonObject{{"backToBack", uncertaintyJson(wheelset.backToBackUncertainty)}};
        }
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
            for (int i = 0; i < kValueCount; ++i) {
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
                   filledIn("%1 to %2", least, most)});
    }
    return table.text();
}

}  // namespace KvMeasure
