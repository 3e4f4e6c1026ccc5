// The train comes from one stream of random draws, and each kind of fault of each scanner from a stream of
// its own, so that the draws of one do not depend on the others. A recording is written profile by profile
// under a passing name and renamed when it is complete; the settings, which make a pass of the folder, come
// last.
#include "simulator/train_pass.h"

#include "simulator/draws.h"
#include "simulator/legal_range.h"

#include <kvmath/profile/profile_z.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>

namespace Simulator {

namespace {

constexpr double kRunIn = 1000;  // travel before the first and behind the last axis, mm

/// Where the scanner at this X sees the wheel, as an angle of the wheel in degrees.
double angleSeenAt(double x, const WheelShape& shape) {
    constexpr double kDegrees = 180 / 3.14159265358979323846;
    return x / (shape.treadDiameter / 2) * kDegrees;
}

TreadDefect breakout(double x, const WheelShape& shape) {
    return {angleSeenAt(x, shape), 60, 4, 85, 110, 3, true};
}

/// A flat of this length is a chord.
TreadDefect flat(const WheelShape& shape) {
    constexpr double kLength = 60;
    return {0, kLength, kLength * kLength / (4 * shape.treadDiameter), 45, 200, 10, false};
}

/// Travel from trigger to trigger, up to this end or back from it; the same for all scanners.
class Drive {
public:
    Drive(const PassRecipe& recipe, double end)
        : spacing_(recipe.spacing), uneven_(recipe.uneven), end_(end - recipe.spacing),
          isBackwards_(recipe.isBackwards) {}

    double travel() const { return isBackwards_ ? end_ - travel_ : travel_; }
    bool isDone() const { return travel_ > end_; }
    void go() {
        constexpr double kWave = 7000, kTurn = 2 * 3.14159265358979323846;  // mm between equal speeds
        ++record_;
        travel_ = uneven_ > 0 ? travel_ + spacing_ * (1 + uneven_ * std::sin(kTurn * travel_ / kWave))
                              : record_ * spacing_;
    }

private:
    double spacing_, uneven_, end_;
    bool isBackwards_;
    int record_ = 0;
    double travel_ = 0;  ///< since the first trigger
};

/// Writes what one scanner sees of the whole pass.
class Recorder {
public:
    Recorder(const PassRecipe& recipe, const std::vector<Wheelset>& train, const Scanner& scanner)
        : recipe_(recipe), scanner_(scanner), noise_(recipe.seed, stream(1)), gaps_(recipe.seed, stream(2)),
          lost_(recipe.seed, stream(3)), glints_(recipe.seed, stream(5)),
          drive_(recipe, train.back().place + kRunIn) {
        Draws targets(recipe.seed, stream(4));
        for (const Wheelset& wheelset : train) {
            const double half = wheelset.backToBack / 2;
            const double back = scanner.side == 0 ? half + wheelset.shift : half - wheelset.shift;
            wheels_.emplace_back(wheelset.wheels[scanner.side], back, recipe.hasPlaneBacks);
            places_.push_back(wheelset.place);
        }
        for (int i = 0; i < recipe.falseTargets; ++i) {
            constexpr int kRecordsAtMost = 4;
            const int between = targets.below(static_cast<int>(places_.size()));
            const double before = between == 0 ? 0.0 : places_[static_cast<std::size_t>(between) - 1];
            const double middle = (before + places_[static_cast<std::size_t>(between)]) / 2;
            const int first = static_cast<int>(middle / recipe.spacing);
            const int last = first + targets.below(kRecordsAtMost);
            targets_.push_back({first * recipe.spacing, last * recipe.spacing});
        }
    }

    bool record(QFile& file) {
        nearest_ = recipe_.isBackwards ? places_.size() - 1 : 0;
        for (int i = 0; !drive_.isDone(); ++i, drive_.go()) {
            look(drive_.travel());
            const bool isPlane =
                recipe_.records == RecordKind::Plane || (recipe_.records == RecordKind::Mixed && i % 2 == 1);
            const KvMath::KvPointCloud<KvMath::KvPointXY>& points = profile_;
            if (!(isPlane ? points.writeToFile(file) : profile_.writeToFile(file)))
                return false;
        }
        return true;
    }

private:
    struct Target {
        double from, to;  ///< travel
    };

    std::uint64_t stream(int kind) const {
        constexpr std::uint64_t kKinds = 8;
        return static_cast<std::uint64_t>(scanner_.index) * kKinds + static_cast<std::uint64_t>(kind);
    }

    void look(double travel) {
        glintEnd_ = 0;
        profile_.points.clear();
        profile_.z = static_cast<float>(travel);
        if (recipe_.lost > 0 && lost_.unit() < recipe_.lost)
            return;
        const auto isNearer = [&](std::size_t other) {
            return std::fabs(places_[other] - travel) < std::fabs(places_[nearest_] - travel);
        };
        while (nearest_ + 1 < places_.size() && isNearer(nearest_ + 1))
            ++nearest_;
        while (nearest_ > 0 && isNearer(nearest_ - 1))
            --nearest_;
        const bool seen = seeWheel(scanner_, wheels_[nearest_], travel - places_[nearest_], ranges_);
        const bool isTarget = std::any_of(targets_.begin(), targets_.end(), [&](const Target& target) {
            return travel >= target.from && travel <= target.to;
        });
        for (int column = 0; column < scanner_.points; ++column)
            addPoint(column, seen ? ranges_[static_cast<std::size_t>(column)] : std::nan(""), isTarget);
        if (scanner_.isMirrored) {
            std::reverse(profile_.points.begin(), profile_.points.end());
            for (KvMath::KvPointXY& point : profile_.points)
                point.x = -point.x;
        }
    }

    void addPoint(int column, double wheelRange, bool isTarget) {
        double range = wheelRange;
        if (std::isnan(range) && isTarget &&
            std::fabs(scanner_.x(column, scanner_.fanRange)) < kTargetHalfWidth)
            range = scanner_.intercept((scanner_.high + scanner_.low) / 2);
        if (std::isnan(range) || column < kColumnsOfRail)
            range = surroundings(column);
        if (std::isnan(range) || (recipe_.dropouts > 0 && gaps_.unit() < recipe_.dropouts))
            return;
        range += recipe_.noise > 0 ? recipe_.noise * noise_.normal() : 0.0;
        range += recipe_.glints > 0 ? glint(column) : 0.0;
        profile_.points.append(
            {static_cast<float>(scanner_.x(column, range)), static_cast<float>(range - scanner_.zero)});
    }

    /// Error of the range in this column by a reflection.
    double glint(int column) {
        constexpr int kColumnsAtMost = 3;
        constexpr double kFarthest = 40;
        if (column >= glintEnd_ && glints_.unit() < recipe_.glints) {
            glintEnd_ = column + 1 + glints_.below(kColumnsAtMost);
            glint_ = (2 * glints_.unit() - 1) * kFarthest;
        }
        return column < glintEnd_ ? glint_ : 0.0;
    }

    /// The rail and its fastenings near the scanner in the first columns, parts of the train far away in some
    /// others.
    double surroundings(int column) const {
        constexpr int kStripes = 50;
        constexpr double kNear = 25, kFar = 120;
        if (column < kColumnsOfRail)
            return scanner_.intercept(scanner_.low) - kNear;
        return column / kStripes % 3 == 0 ? scanner_.intercept(scanner_.high) + kFar : std::nan("");
    }

    static constexpr int kColumnsOfRail = 30;
    static constexpr double kTargetHalfWidth = 20;

    const PassRecipe& recipe_;
    const Scanner& scanner_;
    Draws noise_, gaps_, lost_, glints_;
    Drive drive_;
    std::vector<Wheel> wheels_;
    std::vector<double> places_;
    std::vector<Target> targets_;
    std::size_t nearest_ = 0;
    std::vector<double> ranges_;
    int glintEnd_ = 0;
    double glint_ = 0;
    KvMath::KvProfileZ profile_;
};

const QString kPartSuffix = ".part";  // of a recording that is not complete

QString recordingName(const Scanner& scanner) { return QString("pass_%1.bin").arg(scanner.serial); }

bool fail(const QString& text, QString* error) {
    if (error != nullptr)
        *error = text;
    return false;
}

/// Why a file cannot be written; what arrived of it goes.
bool fail(QFile& file, QString* error) {
    const QString reason = errno != 0 ? qt_error_string(errno) : file.errorString();
    if (file.isOpen() && QFileInfo(file.fileName()).isFile()) {
        file.close();
        QFile::remove(file.fileName());
    }
    return fail(QString("%1: cannot be written: %2").arg(file.fileName(), reason), error);
}

bool writeWhole(const QString& path, const QByteArray& content, QString* error) {
    QFile file(path);
    errno = 0;
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        return fail(file, error);
    return true;
}

/// The nominal section, finer where it is steep.
QByteArray referenceSection() {
    constexpr double kSteepPart = 1, kFine = 0.02, kCoarse = 0.1;
    QString text = "lateral_mm,height_mm\n";
    for (double lateral = 0; lateral < kWheelWidth; lateral += lateral < kSteepPart ? kFine : kCoarse)
        text += QString::number(lateral, 'f', 3) + ',' + QString::number(s1002Height(lateral), 'f', 6) + '\n';
    return text.toUtf8();
}

}  // namespace

std::vector<Wheelset> trainOf(const PassRecipe& recipe) {
    constexpr double kInBogie = 1800, kBetweenBogies = 3400, kShift = 3, kPlay = 2;
    constexpr double kScannerX[] = {-200, 0, 200};
    Draws draws(recipe.seed, 0);
    if (recipe.isReference) {
        Wheelset reference;
        reference.place = kRunIn;
        for (WheelShape& shape : reference.wheels)
            shape.treadDiameter = recipe.diameter;
        return {reference};
    }
    const auto within = [&](double limit) { return (2 * draws.unit() - 1) * limit; };
    std::vector<Wheelset> train;
    double place = kRunIn;
    for (int i = 0; i < recipe.wheelsets; ++i) {
        Wheelset wheelset;
        wheelset.place = place + within(20);
        wheelset.backToBack += within(kPlay);
        wheelset.shift = within(kShift);
        const double diameter = recipe.diameter - recipe.turned * draws.unit();
        for (WheelShape& shape : wheelset.wheels) {
            shape.treadDiameter = diameter - draws.unit() * 0.5;
            shape.flangeWear = recipe.flangeWear * draws.unit();
            shape.hollow = recipe.hollow * draws.unit();
        }
        train.push_back(wheelset);
        place += i % 2 == 0 ? kInBogie : kBetweenBogies;
    }
    // Damaged wheels are spread over the train: every one but those that have a defect already may be next.
    for (int i = 0; i < recipe.breakouts + recipe.flats; ++i) {
        int wheel = draws.below(2 * recipe.wheelsets);
        const auto shapeOf = [&]() -> WheelShape& {
            return train[static_cast<std::size_t>(wheel / 2)].wheels[wheel % 2];
        };
        while (!shapeOf().defects.empty())
            wheel = (wheel + 1) % (2 * recipe.wheelsets);
        WheelShape& shape = shapeOf();
        shape.defects.push_back(i < recipe.breakouts ? breakout(kScannerX[draws.below(3)], shape)
                                                     : flat(shape));
    }
    return train;
}

QByteArray passTruth(const std::vector<Wheelset>& train) {
    QString text =
        "wheelset,side,flange_height,thickness_from_back,flange_steepness,radius,back_to_back,defect\n";
    for (std::size_t i = 0; i < train.size(); ++i) {
        for (const int side : {0, 1}) {
            const WheelShape& shape = train[i].wheels[side];
            const SectionTruth truth = sectionTruth(shape, 0);
            const int defect = shape.defects.empty() ? 0 : (shape.defects.front().isBreakout ? 1 : 2);
            text += QString("%1,%2").arg(QString::number(i + 1), side == 0 ? "left" : "right");
            for (const double value : {truth.flangeHeight, truth.thicknessFromBack, truth.flangeSteepness,
                                       truth.tipRadius, train[i].backToBack})
                text += ',' + QString::number(value, 'f', 4);
            text += QString(",%1\n").arg(defect);
        }
    }
    return text.toUtf8();
}

QString problemOf(const PassRecipe& r) {
    const QString problems[] = {outside("wheelsets", r.wheelsets, 1, 1000),
                                outside("diameter", r.diameter, 500, 1500),
                                outside("turned", r.turned, 0, 100),
                                outside("flangeWear", r.flangeWear, 0, 6),
                                outside("hollow", r.hollow, 0, 4),
                                outside("breakouts", r.breakouts, 0, 2 * r.wheelsets),
                                outside("flats", r.flats, 0, 2 * r.wheelsets - r.breakouts),
                                outside("spacing", r.spacing, 1, 100),
                                outside("noise", r.noise, 0, 1),
                                outside("dropouts", r.dropouts, 0, 0.5),
                                outside("lost", r.lost, 0, 0.2),
                                outside("falseTargets", r.falseTargets, 0, 1000),
                                outside("camera", r.view.camera, -150, 150),
                                outside("glints", r.glints, 0, 0.1),
                                outside("uneven", r.uneven, 0, 0.9)};
    for (const QString& problem : problems) {
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

QStringList passFiles() {
    QStringList names{"settings.ini", "truth.csv", "reference.csv"};
    for (const Scanner& scanner : measuringPost())
        names << recordingName(scanner) << recordingName(scanner) + kPartSuffix;
    return names;
}

bool simulatePass(const PassRecipe& recipe, const QString& folder, QString* error) {
    const QString problem = problemOf(recipe);
    if (!problem.isEmpty())
        return fail(problem, error);
    const std::vector<Wheelset> train = trainOf(recipe);
    const std::vector<Scanner> post = measuringPost(recipe.view);
    for (const Scanner& scanner : post) {
        const QString path = folder + '/' + recordingName(scanner);
        QFile file(path + kPartSuffix);
        errno = 0;
        if (!file.open(QIODevice::WriteOnly) || !Recorder(recipe, train, scanner).record(file) ||
            !file.flush())
            return fail(file, error);
        file.close();
        if (std::rename(QFile::encodeName(file.fileName()).constData(),
                        QFile::encodeName(path).constData()) != 0)
            return fail(file, error);
    }
    if (recipe.isReference && !writeWhole(folder + "/reference.csv", referenceSection(), error))
        return false;
    // The settings make a pass of the recordings: they come last.
    std::vector<Wheelset> seen(train);
    if (recipe.isBackwards)
        std::reverse(seen.begin(), seen.end());
    return writeWhole(folder + "/truth.csv", passTruth(seen), error) &&
           writeWhole(folder + "/settings.ini", postSettings(post, recipe.glints > 0), error);
}

}  // namespace Simulator
