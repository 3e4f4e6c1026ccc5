// Files of clouds beside those of the Point Cloud Library, in memory where there is room, without a sync: the
// same points in both files, compared before anything is timed. Both keep 12 bytes per point behind a head.
// The bytes of the record read or written in one call show what the system takes.

#include <benchmarks/peers.h>
#include <benchmarks/scratch_folder.h>
#include <kvmath/profile/profile_zset.h>
#include <kvmeasure/scans/scan_writer.h>

#include <QtCore/QTemporaryDir>
#include <pcl/io/pcd_io.h>
#include <pcl/io/ply_io.h>
#include <pcl/point_types.h>

#include <algorithm>
#include <string>

namespace {

using Peers::Comparison;
using Peers::countPoints;
using Peers::sizeOf;
using Peers::sizes;
using Cloud = KvMath::KvPointCloud<KvMath::KvPointXYZ>;
using PeerCloud = pcl::PointCloud<pcl::PointXYZ>;

constexpr int kLine = 500;  // points of a profile

/// A scan of the tilted plane: profiles 0.1 mm apart.
KvMath::KvProfileZSet scan(int size) {
    KvMath::KvProfileZSet stack;
    int i = 0;
    for (const KvMath::KvPointXYZ& p : Peers::slope(size, 1).points) {
        if (i++ % kLine == 0)
            stack.append(KvMath::KvProfileZ());
        stack[stack.size() - 1].points.append({p.x, p.z});
    }
    stack.setZ(0.0F, 0.1F);
    return stack;
}

/// The same scan as a cloud of the library, as one of the peer and in a file of each kind.
struct Files {
    explicit Files(int size) : stack(scan(size)) {
        stack.toPointCloud(cloud);
        for (const KvMath::KvPointXYZ& p : cloud.points)
            peer.emplace_back(p.x, p.y, p.z);
        cloud.writeToFile(record);
        stack.writeToFile(records);
        writePeer();
        KvMeasure::Scan whole;
        whole.cloud = cloud;
        whole.countPoints();
        KvMeasure::writeScan(ply, KvMeasure::ScanForm::Ply, /*heightLast=*/false, whole);
    }
    bool writePeer() const { return pcl::io::savePCDFileBinary(pcd, peer) == 0; }

    const QTemporaryDir directory{Inputs::scratchFolder()};
    const QString record = directory.filePath("cloud.bin");
    const QString records = directory.filePath("stack.bin");
    const QString ply = directory.filePath("cloud.ply");
    const std::string pcd = directory.filePath("cloud.pcd").toStdString();
    const KvMath::KvProfileZSet stack;
    Cloud cloud;
    PeerCloud peer;
};

bool isSame(const Cloud& own, const PeerCloud& peer) {
    const auto isSamePoint = [](const KvMath::KvPointXYZ& p, const pcl::PointXYZ& q) {
        return p.x == q.x && p.y == q.y && p.z == q.z;
    };
    return static_cast<std::size_t>(own.points.size()) == peer.size() &&
           std::equal(own.points.begin(), own.points.end(), peer.begin(), isSamePoint);
}

Comparison files([](int size) -> const char* {
    const Files source(size);
    Cloud own;
    PeerCloud peer;
    if (own.readFromFile(source.record) != size || pcl::io::loadPCDFile(source.pcd, peer) != 0)
        return "files not read";
    if (!isSame(source.cloud, source.peer) || !isSame(own, source.peer) || !isSame(own, peer))
        return "different points";
    KvMath::KvProfileZSet stack;
    stack.readFromFile(source.records);
    stack.toPointCloud(own);
    if (!isSame(own, peer))
        return "different points in the stack";
    own = KvMeasure::loadScan(source.ply, KvMeasure::ScanOptions()).cloud;
    if (pcl::io::loadPLYFile(source.ply.toStdString(), peer) != 0)
        return "PLY not read by the peer";
    return isSame(own, peer) && isSame(own, source.peer) ? nullptr : "different points in PLY";
});

/// `call` with the files, once per round; false from it ends the run.
template <class Call>
void measure(benchmark::State& state, Call call) {
    if (files.refuses(state))
        return;
    const Files source(sizeOf(state));
    for (auto _ : state) {
        if (!call(source))
            state.SkipWithError("a file failed");
    }
    countPoints(state);
}

void BM_CloudRead(benchmark::State& state) {
    measure(state, [](const Files& source) {
        Cloud cloud;
        return cloud.readFromFile(source.record) == source.cloud.points.size();
    });
}

void BM_CloudReadPcl(benchmark::State& state) {
    measure(state, [](const Files& source) {
        PeerCloud cloud;
        return pcl::io::loadPCDFile(source.pcd, cloud) == 0;
    });
}

void BM_PlainRead(benchmark::State& state) {
    measure(state, [](const Files& source) {
        QFile file(source.record);
        return file.open(QIODevice::ReadOnly) && !file.readAll().isEmpty();
    });
}

void BM_CloudWrite(benchmark::State& state) {
    measure(state, [](const Files& source) { return source.cloud.writeToFile(source.record); });
}

void BM_CloudWritePcl(benchmark::State& state) {
    measure(state, [](const Files& source) { return source.writePeer(); });
}

void BM_PlainWrite(benchmark::State& state) {
    const QByteArray bytes(7 + 12 * sizeOf(state), '\1');
    measure(state, [&](const Files& source) {
        QFile file(source.record);
        return file.open(QIODevice::ReadWrite | QIODevice::Truncate) && file.write(bytes) == bytes.size();
    });
}

// The scan as the library keeps it, 8 bytes per point and the place of a profile once: as profiles, and
// turned into the cloud that the peer reads, which knows no profiles.

void BM_StackRead(benchmark::State& state) {
    measure(state, [](const Files& source) {
        KvMath::KvProfileZSet stack;
        return stack.readFromFile(source.records) == source.stack.size();
    });
}

void BM_StackReadToCloud(benchmark::State& state) {
    measure(state, [](const Files& source) {
        KvMath::KvProfileZSet stack;
        stack.readFromFile(source.records);
        Cloud cloud;
        return stack.toPointCloud(cloud) == source.cloud.points.size();
    });
}

void BM_StackWrite(benchmark::State& state) {
    measure(state, [](const Files& source) { return source.stack.writeToFile(source.records); });
}

// PLY, binary little-endian, as scanners and viewers exchange it.

void BM_PlyRead(benchmark::State& state) {
    measure(state, [](const Files& source) {
        return KvMeasure::loadScan(source.ply, KvMeasure::ScanOptions()).points == source.cloud.points.size();
    });
}

void BM_PlyReadPcl(benchmark::State& state) {
    measure(state, [](const Files& source) {
        PeerCloud cloud;
        return pcl::io::loadPLYFile(source.ply.toStdString(), cloud) == 0;
    });
}

BENCHMARK(BM_CloudRead)->Apply(sizes);
BENCHMARK(BM_CloudReadPcl)->Apply(sizes);
BENCHMARK(BM_PlainRead)->Apply(sizes);
BENCHMARK(BM_StackRead)->Apply(sizes);
BENCHMARK(BM_StackReadToCloud)->Apply(sizes);
BENCHMARK(BM_CloudWrite)->Apply(sizes);
BENCHMARK(BM_CloudWritePcl)->Apply(sizes);
BENCHMARK(BM_PlainWrite)->Apply(sizes);
BENCHMARK(BM_StackWrite)->Apply(sizes);
BENCHMARK(BM_PlyRead)->Apply(sizes);
BENCHMARK(BM_PlyReadPcl)->Apply(sizes);

}  // namespace
