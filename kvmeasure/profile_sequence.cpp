#include "kvmeasure/profile_sequence.h"

#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

/// Of the first record of a file of clouds.
bool liesAtDifferentZ(PointFile& file) {
    RecordHead head;
    if (!file.nextHead(head) || !recordHasZ(head.marker))
        return false;
    float z = std::nanf("");
    constexpr int pointsAtOnce = 65'536;
    while (true) {
        const QList<KvMath::KvPointXYZ>& points = file.nextPoints(pointsAtOnce);
        if (points.isEmpty())
            return false;
        for (const KvMath::KvPointXYZ& point : points) {
            if (std::isnan(z))
                z = point.z;
            if (point.z != z && !std::isnan(point.z))
                return true;
        }
    }
}

}  // namespace

bool isWholeScan(const QString& path) {
    if (!looksLikeScan(path))
        return false;
    try {
        PointFile file(path);
        return file.form() == FileForm::Records ? liesAtDifferentZ(file) : true;
    } catch (const Failure&) {
        return true;  // no file of points: a height map; what is wrong with a record its reader tells
    }
}

ProfileSequence::ProfileSequence(const QString& path, const QString& columns, const ScanOptions& scan)
    : path_(path) {
    if (scan.map.isEmpty() && !scan.heightLast && !isWholeScan(path)) {
        source_ = std::make_unique<ProfileSource>(path, columns);
        return;
    }
    ScanOptions asStored = scan;
    asStored.step = std::nan("");
    Scan whole = loadScan(path, asStored);
    stack_ = takeStack(whole, path);
}

bool ProfileSequence::next(LoadedProfile& loaded) {
    if (source_)
        return source_->next(loaded);
    if (index_ == stack_.size())
        return false;
    loaded = LoadedProfile();
    loaded.name = path_;
    loaded.stem = QFileInfo(path_).completeBaseName();
    if (stack_.size() > 1) {
        loaded.name += QString("#%1").arg(index_);
        loaded.stem += QString("-%1").arg(index_);
    }
    loaded.profile = stack_.at(index_);
    loaded.z = stack_.at(index_).z;
    loaded.head.marker = 0x05;
    ++index_;
    return true;
}

LoadedProfile takeProfile(const Arguments& arguments) {
    const QString path = arguments.operand(0);
    const int record = arguments.integer("--record", 0, 0, lastRecord);
    ProfileSequence sequence(path, arguments.text("--columns"), ScanOptions());
    LoadedProfile loaded;
    for (int i = 0; i <= record; ++i) {
        if (!sequence.next(loaded))
            throw Failure{
                QString("%1: has %2 profile(s); there is no --record %3").arg(path).arg(i).arg(record)};
    }
    if (!arguments.has("--record") && loaded.name != path)
        complain(path + ": holds several profiles; this is the first, choose another with --record N");
    return loaded;
}

}  // namespace KvMeasure
