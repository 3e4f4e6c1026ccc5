// "kvmeasure view": a page on what files of points, recordings and calibration files hold.

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/scan/summary.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/drawing/scan_picture.h>
#include <kvmeasure/drawing/sensor_map_picture.h>
#include <kvmeasure/report/calibration_facts.h>
#include <kvmeasure/report/html_page.h>
#include <kvmeasure/report/page_file.h>
#include <kvmeasure/scans/height_grid.h>
#include <kvmeasure/scans/profile_sequence.h>
#include <kvmeasure/wheels/post.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>

#include <cmath>
#include <functional>
#include <optional>

namespace KvMeasure {

namespace {

constexpr int kMostFiles = 200;
constexpr int kMostProfiles = 20;   // of a file, with a picture each
constexpr int kMostPictures = 200;  // of a page

const Usage usage{
    "view",
    "FILE|FOLDER...",
    "Shows what files hold, as a page: profiles, scans, recordings of a pass, calibration.",
    {{"--out", "PAGE", "page to write (one in the folder for temporary files, which is opened)"}},
    "Profiles are drawn, the first 20 of a file, 200 on a page; of a single one the page tells the height\n"
    "under the pointer. Scans and recordings of a pass are drawn from above, coloured by height, the first\n"
    "four as clouds that can be turned, too, where three.js is installed (Debian's libjs-three). Of a\n"
    "calibration file the page has what \"calibrate info\" says, and its values over the sensor. Of a "
    "folder\n"
    "come its files in the order of their names, 200 at most; true values of simulated data are left out.\n"
    "A file that cannot be read has its reason on the page, and gives exit code 2.\n\n"
    "Examples\n"
    "  kvmeasure view part.csv\n"
    "  kvmeasure view scans --out scans.html\n"
    "  kvmeasure view train scanner.tbl\n"};

/// The files of the operands; those of a folder by their names.
QStringList filesOf(const QStringList& operands) {
    QStringList files;
    for (const QString& operand : operands) {
        if (!QFileInfo(operand).isDir()) {
            files.append(operand);
            continue;
        }
        const QStringList names = QDir(operand).entryList(QDir::Files, QDir::Name);
        if (names.isEmpty())
            throw Error(operand + ": has no files").inFile(operand);
        for (const QString& name : names)
            files.append(operand + '/' + name);
    }
    if (files.size() > kMostFiles)
        throw Error(filledIn("there are %1 files; a page shows %2 at most", files.size(), kMostFiles));
    return files;
}

/// The values that a simulation writes beside its data: they are no points.
bool isTruth(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    return name == "truth.csv" || name.endsWith(".truth.csv") || name.endsWith(".truth.json");
}

/// What the page shows so far. The list of all files comes first, so that what follows is kept until then.
struct View {
    QList<QStringList> rows;
    QMap<QString, QJsonObject> facts;  // of calibration files, by their paths
    std::vector<std::function<void(HtmlPage&)>> parts;
    QList<QPair<QString, CloudSample>> clouds;  // before all pictures
    int pictures = 0;

    void addPicture(const QString& caption, const QByteArray& svg) {
        parts.push_back([caption, svg](HtmlPage& page) { page.addPicture(caption, svg); });
    }
};

void addScan(const QString& path, View& view) {
    Scan scan = loadScan(path, ScanOptions());
    const ScanSummary summary = summarise(scan);
    const KvMath::KvProfileZSet stack = takeStack(scan, path);
    view.rows.append({path, summary.line()});
    if (view.pictures++ >= kMostPictures)
        return;
    if (view.clouds.size() < HtmlPage::kMostClouds) {
        CloudSample sample;
        Scan::forEachPoint(scan, [&sample](float x, float at, float height) { sample.add(x, height, at); });
        view.clouds.append({path, sample});
    }
    ScanPicture picture;
    picture.title = QFileInfo(path).completeBaseName();
    picture.grid = makeGrid(stack, estimateSteps(stack), path);
    view.addPicture(path + ": " + summary.line(), drawScan(picture));
}

/// A raw record or a table: what "calibrate info" says, and its picture.
void addCalibration(CalibrationFile file, const QString& path, View& view) {
    CalibrationFacts facts;
    QList<SensorMap> maps;
    if (file.form() == CalibrationForm::Raw) {
        const RawRecord record = file.readRaw();
        facts = factsOf(record);
        maps = sensorMapsOf(record);
    } else {
        PixelTable table = file.readTable();
        facts = factsOf(table, KvMath::kUnitsPerRange, KvMath::kUnitsPerRange, false);
        maps = sensorMapsOf(table);
    }
    view.rows.append({path, formName(file.form())});
    view.facts[path] = facts.json;
    view.parts.push_back([path, rows = facts.rows](HtmlPage& page) {
        page.addTable(path, {"of the file", "value"}, rows);
    });
    if (view.pictures++ < kMostPictures)
        view.addPicture(path, drawSensorMaps(QFileInfo(path).fileName(), maps));
}

/// The settings of a measuring post: its scanners with their serial numbers.
void addSettings(const QString& path, View& view) {
    constexpr int kMostScanners = 49;
    PostSettings settings(path);
    QStringList scanners;
    for (int index = 1; index <= kMostScanners; ++index) {
        const QString serial = settings.ini()->value(sensorName(index) + "/SN").toString();
        if (hasRole(index) && !serial.isEmpty())
            scanners.append(sensorName(index) + ' ' + serial);
    }
    view.rows.append({path, "settings of a measuring post: " + scanners.join(", ")});
}

/// The heights of a profile over x, where x ascends.
void addPlot(const KvMath::KvProfile& profile, View& view) {
    std::vector<double> x;
    PlottedSeries heights;
    heights.name = "height";
    heights.unit = "mm";
    for (const KvMath::KvPointXY& p : profile.points) {
        if (!x.empty() && !(double(p.x) > x.back()))
            return;
        x.push_back(double(p.x));
        heights.values.push_back(double(p.y));
    }
    view.parts.insert(view.parts.begin(), [x, heights](HtmlPage& page) {
        page.addPlots("x, mm", x, {}, {heights}, /*hasHistogram=*/false);
    });
}

void addProfiles(const QString& path, bool isOnly, View& view) {
    ProfileSequence profiles(path);
    qint64 points = 0, unset = 0;
    int count = 0;
    LoadedProfile first;
    for (LoadedProfile loaded; profiles.next(loaded); ++count) {
        points += loaded.profile.points.size();
        unset += loaded.unset;
        if (count == 0)
            first = loaded;
        if (count >= kMostProfiles || view.pictures++ >= kMostPictures)
            continue;
        Picture picture;
        picture.title = loaded.stem;
        picture.profile = loaded.profile;
        view.addPicture(loaded.name, drawPicture(picture));
    }
    view.rows.append({path, filledIn("%1 profile(s), %2 points, %3 unset", count, points, unset)});
    if (isOnly && count == 1)
        addPlot(first.profile, view);
}

/// Profiles, or points with three coordinates. Where they are neither, the reason is that of profiles.
void addPoints(const QString& path, bool isOnly, View& view) {
    try {
        addProfiles(path, isOnly, view);
    } catch (const Error& error) {
        try {
            addScan(path, view);
        } catch (const Error&) {
            throw error;
        }
    }
}

/// The calibration file of this name; none where it is something else.
std::optional<CalibrationFile> calibrationFile(const QString& path) {
    try {
        return CalibrationFile(path);
    } catch (const Error&) {
        return {};
    }
}

/// Calibration files come last, for their size alone tells what they are: a file of points may have it.
void addFile(const QString& path, bool isOnly, View& view) {
    if (path.endsWith(".ini", Qt::CaseInsensitive)) {
        addSettings(path, view);
        return;
    }
    try {
        if (looksLikeScan(path))
            addScan(path, view);
        else
            addPoints(path, isOnly, view);
    } catch (const Error&) {
        const std::optional<CalibrationFile> file = calibrationFile(path);
        if (!file)
            throw;
        addCalibration(*file, path, view);
    }
}

QJsonObject jsonOf(const QString& out, const View& view) {
    QJsonArray files;
    for (const QStringList& row : view.rows) {
        QJsonObject file{{"file", row[0]}, {"holds", row[1]}};
        if (view.facts.contains(row[0]))
            file["facts"] = view.facts[row[0]];
        files.append(file);
    }
    return {{"out", out}, {"files", files}};
}

/// Opens the page with what the desktop has for it.
void open(const QString& path) {
    const QString opener = QStandardPaths::findExecutable("xdg-open");
    if (opener.isEmpty() || !QProcess::startDetached(opener, {path}))
        complain(path + ": open it in a browser; there is no \"xdg-open\" here");
}

}  // namespace

int runView(const QStringList& words) {
    const Arguments arguments(usage, words, 1, kAnyNumber);
    const QStringList files = filesOf(arguments.operands());
    const QString out = arguments.has("--out")
                            ? arguments.text("--out")
                            : QDir::tempPath() + '/' + QFileInfo(arguments.operand(0)).fileName() + ".html";
    refuseOverwriting({out}, files);
    PageFile file(out);
    View view;
    const int code = forEachFile(files, [&](const QString& path) {
        try {
            if (isTruth(path) && !arguments.operands().contains(path))
                view.rows.append({path, "left out: true values of simulated data"});
            else
                addFile(path, files.size() == 1, view);
        } catch (const Error& error) {
            view.rows.append({path, "NOT READ: " + error.text(optionOf)});
            throw;
        }
    });
    HtmlPage page(QFileInfo(arguments.operand(0)).fileName());
    page.addTable("Files", {"file", "holds"}, view.rows);
    for (const auto& [path, sample] : qAsConst(view.clouds))
        page.addCloud(path, sample);
    for (const auto& add : view.parts)
        add(page);
    const QJsonObject json = jsonOf(out, view);
    page.setResults(json);
    file.write(page.html());
    if (arguments.isJson())
        printJson(json);
    else
        print(printable(out) + '\n');
    if (!arguments.has("--out"))
        open(out);
    return code;
}

}  // namespace KvMeasure
