// Writes the files of samples/ into the directory named on the command line. The same files on every run.

#include <kvmath/tsearch/template_document.h>
#include <simulator/profile_simulator.h>
#include <tests/support/groove_template.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <cstdio>

namespace {

using Simulator::ProfileRecipe;

bool writeText(const QString& path, const QByteArray& text) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
}

// Six decimals are more than a float of this size holds.
QByteArray ordinaryCsv(const KvMath::KvProfile& profile) {
    QByteArray text = "x_mm,y_mm\n";
    for (const KvMath::KvPointXY& p : profile.points)
        text +=
            QByteArray::number(double(p.x), 'f', 6) + ',' + QByteArray::number(double(p.y), 'f', 6) + '\n';
    return text;
}

bool writeSample(const QDir& directory, const QString& file, const ProfileRecipe& recipe) {
    const auto simulated = Simulator::simulateProfile(recipe);
    if (!simulated)
        return false;
    const QString path = directory.filePath(file), stem = file.section('.', 0, 0);
    const bool isRecord = file.endsWith(".bin"), isOrdinary = file.endsWith(".points.csv");
    const bool written = isRecord     ? simulated->profile.writeToFile(path)
                         : isOrdinary ? writeText(path, ordinaryCsv(simulated->profile))
                                      : simulated->profile.writeToCSVFile(path);
    return written && writeText(directory.filePath(stem + ".truth.csv"), Simulator::truthCsv(*simulated));
}

/// The template document with the search parameters beside it, as kvmeasure keeps them.
QByteArray grooveTemplateJson() {
    const TestSupport::GrooveTemplate groove;
    QVariant document;
    if (!KvMath::saveTemplate(document, groove.lines, groove.measurements, "1", "1", "V groove"))
        return {};
    QVariantMap map = document.toMap();
    map["search"] = QVariantMap{{"contourGap", groove.params.contourGap},
                                {"splitTolerance", groove.params.splitTolerance},
                                {"refineIterations", groove.params.refineIterations},
                                {"minLineLength", groove.params.minLineLength},
                                {"allowReversed", groove.params.allowReversed},
                                {"cornerTolerance", groove.params.cornerTolerance}};
    return QJsonDocument::fromVariant(map).toJson();
}

ProfileRecipe grooveRecipe() {
    ProfileRecipe recipe;
    recipe.points = 400;
    recipe.xFrom = -20;
    recipe.xTo = 20;
    recipe.shiftY = 50;
    recipe.noise = 0.01;
    return recipe;
}

bool writeAll(const QDir& directory) {
    const ProfileRecipe groove = grooveRecipe();
    ProfileRecipe moved = groove;
    moved.shiftX = 2.5;
    moved.shiftY = 46;
    moved.rotation = 2;
    moved.noise = 0.02;
    moved.dropouts = 2;
    moved.spikes = 2;
    moved.seed = 7;
    ProfileRecipe extrusion = groove;
    extrusion.shape = "extrusion";
    extrusion.points = 600;
    extrusion.xFrom = -30;
    extrusion.xTo = 30;
    ProfileRecipe step = groove;
    step.shape = "step";
    step.noise = 0;
    return writeSample(directory, "v-groove.csv", groove) &&
           writeSample(directory, "v-groove-moved.csv", moved) &&
           writeSample(directory, "extrusion.points.csv", extrusion) &&
           writeSample(directory, "step.bin", step) &&
           writeText(directory.filePath("v-groove.template.json"), grooveTemplateJson());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && QDir().mkpath(argv[1]) && writeAll(QDir(argv[1])))
        return 0;
    std::fprintf(stderr, "usage: make_samples DIRECTORY (made when missing, files replaced)\n");
    return 2;
}
