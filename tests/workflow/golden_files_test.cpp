// Files of every format and version in samples/formats: each is read with what it held when it was written,
// and what is written today equals the newest of its format byte by byte. A format that changes on purpose
// gets a file with the next number beside the old one: what was written today stays in golden_files beside
// this program.

#include <tests/workflow/golden_formats.h>

#include <kvmeasure/base/error.h>

#include <gmock/gmock.h>

#include <QtCore/QDir>

namespace {

using namespace Golden;

class GoldenFiles : public testing::Test {
protected:
    GoldenFiles() : formats_(pointFormats()) {
        for (const Format& format : resultFormats())
            formats_.push_back(format);
        QDir().mkpath("golden_files");
        QDir::setCurrent("golden_files");
    }
    ~GoldenFiles() override { QDir::setCurrent(before_); }

    static QString pathOf(const char* name) { return QString(KVMATH_SAMPLES "/formats/") + name; }

    std::vector<Format> formats_;

private:
    const QString before_ = QDir::currentPath();
};

TEST_F(GoldenFiles, OfEveryVersionAreReadWithWhatTheyHeld) {
    for (const Format& format : formats_) {
        for (const File& file : format.files) {
            SCOPED_TRACE(file.name);
            try {
                EXPECT_EQ(format.facts(pathOf(file.name)), file.facts);
            } catch (const KvMeasure::Error& error) {
                const std::string reason = error.text().toStdString();
                EXPECT_THAT(reason, testing::AnyOf(testing::HasSubstr("Qt Sql"),
                                                   testing::HasSubstr("no driver for")));
            }
        }
    }
}

TEST_F(GoldenFiles, AreWhatIsWrittenToday) {
    for (const Format& format : formats_) {
        if (format.write == nullptr)
            continue;
        const char* newest = format.files.back().name;
        SCOPED_TRACE(newest);
        QFile::remove(newest);
        format.write(newest);
        const bool isPacked = QString(newest).endsWith(".qz");
        const auto content = [&](const QString& path) {
            return isPacked ? qUncompress(bytesOf(path)) : bytesOf(path);
        };
        EXPECT_TRUE(content(newest) == content(pathOf(newest)))
            << "is not what golden_files/" << newest << " holds: a format that changes needs a new version";
    }
}

TEST_F(GoldenFiles, AreAllListedHereAndInTheText) {
    QStringList listed{"README.md", "height-map.1.raw.meta.csv"};
    const QByteArray about = bytesOf(pathOf("README.md"));
    for (const Format& format : formats_) {
        for (const File& file : format.files) {
            listed.append(file.name);
            EXPECT_TRUE(about.contains(QByteArray("`") + file.name + "`")) << file.name;
        }
    }
    listed.sort();
    QStringList present = QDir(pathOf("")).entryList(QDir::Files);
    present.sort();
    EXPECT_EQ(present, listed);
}

}  // namespace
