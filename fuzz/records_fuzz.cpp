// Records of the three kinds of clouds and of profiles with z and with tags: what is read is written back
// byte by byte.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>

namespace {

template <class Record, class... Partial>
void readAndWriteBack(const QByteArray& bytes, Partial... acceptPartial) {
    QFile file(Fuzz::scratchFile("in", bytes));
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (qint64 before = 0;; before = file.pos()) {
        Record record;
        const int count = record.readFromFile(file, acceptPartial...);
        Fuzz::require(record.points.size() <= bytes.size(), "points come from bytes");
        record.calcRange();
        if (count < 0) {
            Fuzz::require(file.pos() == before, "a failed read puts the position back");
            return;
        }
        QFile out(Fuzz::scratchPath("out"));
        Fuzz::require(count == record.points.size() && out.open(QIODevice::WriteOnly) &&
                          record.writeToFile(out),
                      "a record has the number of points that is returned, and can be written");
        out.close();
        const QByteArray taken = bytes.mid(int(before), int(file.pos() - before));
        Fuzz::require(sizeof...(Partial) > 0 || Fuzz::scratchBytes("out") == taken,
                      "what was read is written back");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = Fuzz::Input(data, size).rest();
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXY>>(bytes);
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXYZ>>(bytes);
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXYZRGB>>(bytes);
    readAndWriteBack<KvMath::KvProfileZ>(bytes);
    readAndWriteBack<KvMath::KvProfileZ>(bytes, true);
    readAndWriteBack<KvMath::KvProfileSD>(bytes);
    readAndWriteBack<KvMath::KvProfileSD>(bytes, true);
    return 0;
}
