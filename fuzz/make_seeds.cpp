// Writes the inputs that fuzzing begins with beside samples/, one folder per target named on the command
// line, into the directory named first: small files of forms that samples/ has not, and noise for targets
// that take numbers.

#include "tests/support/groove_template.h"

#include <kvmath/profile/profile_zset.h>
#include <kvmath/tsearch/template_document.h>

#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <cstdint>
#include <initializer_list>

namespace {

QString place(const QString& target, const QString& name) {
    QDir().mkpath(target);
    return target + '/' + name;
}

void put(const QString& target, const QString& name, const QByteArray& bytes) {
    QFile file(place(target, name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("seed not written");
}

/// Twenty profiles with z: a scan, and a pass of wheels below the level of 187 mm.
void putStack() {
    KvMath::KvProfileZSet stack;
    for (int i = 0; i < 20; ++i) {
        KvMath::KvProfileZ profile(static_cast<float>(i));
        for (int k = 0; k < 12; ++k)
            profile.points.append({float(k), i % 8 < 6 ? 50.0F + float(k % 2) : 250.0F});
        stack.append(profile);
    }
    for (const char* target : {"records", "stacks", "recordings", "host_files"})
        stack.writeToFile(place(target, "stack"));
}

void putTemplates() {
    const TestSupport::GrooveTemplate groove;
    QByteArray both, list;
    QDataStream stream(&both, QIODevice::WriteOnly), listStream(&list, QIODevice::WriteOnly);
    groove.lines.save(stream);
    groove.measurements.save(stream);
    groove.measurements.save(listStream);
    put("template_stream", "groove", both);
    put("measurement_list", "groove", list);
    put("measurement_list", "json",
        R"([{"measurementType":"Line point","measureLineIndex":0,"position":0.5}])");
}

/// A document with every kind of constraint and measurement.
void putDocument() {
    using namespace KvMath;
    TSTemplate lines(3);
    for (TSConstraint* constraint : std::initializer_list<TSConstraint*>{
             new TSCLength(0, 1, 9), new TSCInclinationAngle(1, -1, 1), new TSCEndPointDistance(0, 1, 0, 2),
             new TSCEndPointDistanceWithCheck(1, 2, 0, 2),
             new TSCRotationAngle(0, 2, 0.1, 3, TSCRotationAngle::Clockwise),
             new TSCEndPointShiftInDirection(0, 2, -5, 5, 0.5, true)})
        lines.addConstraint(constraint);
    TSMeasurementList list;
    for (TSMeasurement* measurement : std::initializer_list<TSMeasurement*>{
             new TSUMLength(0, "a"), new TSUMInclinationAngle(1, "b"), new TSUMRotationAngle(0, 1, "c"),
             new TSUMAngleBetweenLines(1, 2, "d"), new TSUMLinePoint(2, 0.5, "e"),
             new TSUMLinesIntersection(0, 2, "f"), new TSUMPointBetween2Points(0, 1, true, false, 0.5, "g"),
             new TSUMEndPointShiftInDirection(0, 1, true, false, 2, true, 0.5, "h"),
             new TSUMFarLineInDirection({1, 0}, "i", "j", "k")})
        list.addMeasurement(measurement);
    QVariant map;
    saveTemplate(map, lines, list, "1", "2", "name");
    put("template_map", "document", QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact));
    QByteArray both;
    QDataStream stream(&both, QIODevice::WriteOnly);
    lines.save(stream);
    list.save(stream);
    put("template_stream", "document", both);
}

void putTexts() {
    QByteArray wheel, rail;
    for (int x = 0; x <= 130; x += 2)
        wheel += QByteArray::number(x) + ' ' +
                 QByteArray::number(x < 30 ? 28 - (x - 15) * (x - 15) / 20 : 0) + '\n';
    for (int x = -36; x <= 36; x += 2)
        rail += QByteArray::number(x) + ' ' + QByteArray::number(x * x > 1200 ? 20 : x * x / 600) + '\n';
    put("gauge_files", "gauge",
        "Side=%L\nSh=28\nRefPoint1=0,0\nRefPoint2=10,1\nRefPoint3=0,5\nTilt=1\nXoffset=1\n" + wheel);
    put("gauge_files", "gauge_rail",
        "header.begin\ntype = 0\nheader.end\nspline.begin\nunits.len.f = 1000\nshift.y = 1\n"
        "rotate = 0.1\nmirror.y = 1\npoint.begin\n" +
            rail + "point.end\n");
    put("host_files", "grid", "scan,0,1\n0,5,6\n1,7,\n");
    put("host_files", "ply",
        "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
        "end_header\n1 2 3\n");
}

/// What texts may hold, behind them the lengths of the pieces and the form.
void putTextsOfReports() {
    const QByteArray texts = "</script><b>\"&';,\r\n# \xc3\xa4\xe2\x80\xa8\x01\xff\t=1+1\\x00 1e9]]>-->";
    for (const char form : {'\x10', '\x60', '\xb0', '\xf4', '\xff'})
        put("report_texts", QString::number(static_cast<unsigned char>(form)),
            texts + QByteArray::fromHex("050607080910") + form);
}

void putPlans() {
    const QByteArray points = QByteArray::fromHex("00303132333435363738393a3b3c3d3e3f40414243").repeated(8);
    put("plans", "full",
        R"({"name": "p", "units": "mm", "filter": ["sort-x", "median 3"],
        "regions": [{"name": "R", "x": [-6, 6]}, {"name": "L", "x": [null, 2], "z": [-9, null], "at": "A"}],
        "anchors": [{"name": "A", "kind": "line", "region": "R", "from": [1.5, 20, 3]}],
        "tools": [{"name": "m", "kind": "max", "region": "R"}, {"name": "s", "kind": "step", "reference": "L", "surface": "R"},
                  {"name": "a", "kind": "area", "region": "R", "above": 2.5}],
        "tolerances": {"m": {"nominal": 5, "lower": -0.1, "upper": 0.1}, "m.at": {"max": 3}},
        "master": {"points": [[0, 0], [1, 0.5], [5, 0]], "align": "registration", "band": [-0.1, null]},
        "evaluation": {"raw": false, "edgeCompensation": true}, "decision": "guarded",
        "calibration": {"u": {"mm": 0.002}, "values": {"m": 0.001}}})" +
            points);
}

void putNoise(const QString& target) {
    std::uint32_t state = 1;
    for (const int size : {16, 64, 256, 1024, 4096}) {
        QByteArray bytes;
        for (; bytes.size() < size; state = state * 1664525U + 1013904223U)
            bytes.append(static_cast<char>(state >> 24));
        put(target, QString::number(size), bytes);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || !QDir().mkpath(argv[1]) || !QDir::setCurrent(argv[1]))
        return 2;
    putStack();
    putTemplates();
    putDocument();
    putTexts();
    putPlans();
    putTextsOfReports();
    for (int i = 2; i < argc; ++i)
        putNoise(argv[i]);
    return 0;
}
