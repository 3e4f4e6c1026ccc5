// Files are complete or not touched; names that mean one file.

#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/own_folder.h>
#include <kvmeasure/base/scratch_folder.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/write_limit.h>

#include <QtCore/QDir>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class OutputFiles : public testing::Test {
protected:
    static std::string listed() {
        return QDir().entryList(QDir::Files | QDir::Hidden | QDir::System).join(' ').toStdString();
    }
    static QByteArray read(const QString& name) { return ScratchDirectory::read(name); }
    static void write(const QString& name, const QByteArray& bytes) { ScratchDirectory::write(name, bytes); }

private:
    const ScratchDirectory scratch_;
};

TEST_F(OutputFiles, AppearOnCommitAndLeaveTheOldOneUntilThen) {
    write("old", "old");
    ASSERT_EQ(::chmod("old", 0640), 0);
    {
        OutputFile lost("old"), unborn("new");
        lost.write("half");
        unborn.write("half");
        EXPECT_EQ(listed(), "old") << "nothing of it has a name";
    }
    EXPECT_EQ(read("old"), "old");
    ASSERT_TRUE(QFile::link("old", "link"));
    OutputFile file("link");
    file.write("new ");
    file.write("content");
    file.commit();
    EXPECT_EQ(read("old"), "new content");
    EXPECT_TRUE(QFileInfo("link").isSymLink()) << "what a link points to is written";
    struct stat status {};
    ASSERT_EQ(::stat("old", &status), 0);
    EXPECT_EQ(status.st_mode & ALLPERMS, 0640U) << "permissions of the file before";
    EXPECT_EQ(listed(), "link old");
}

TEST_F(OutputFiles, ThatCannotBeWrittenAreNamed) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const std::pair<QString, const char*> cases[] = {{"", "the name of the file to write is empty"},
                                                     {".", "it is not a regular file"},
                                                     {"pipe", "it is not a regular file"},
                                                     {"/dev/full", "it is not a regular file"},
                                                     {"none/file", "cannot be written: No such file"},
                                                     {QString(256, 'n'), "File name too long"},
                                                     {"a.XLSX", "spreadsheet files are not written"}};
    for (const auto& [path, reason] : cases) {
        const Error error = errorOf([name = path] { writeOutputFile(name, "x"); });
        EXPECT_THAT(error, Says(reason)) << path.toStdString();
        EXPECT_EQ(error.file(), path);
    }
    EXPECT_EQ(listed(), "pipe");
}

TEST_F(OutputFiles, OfAFullDiskLeaveTheOldOneAndSayWhy) {
    write("old", "old");
    QDir().mkdir("folder");
    for (const int bytes : {100, 100'000}) {
        const WriteLimit limit(50);
        const Error error = errorOf([bytes] { writeOutputFile("old", QByteArray(bytes, 'x')); });
        EXPECT_THAT(error, Says("old: cannot be written: File too large"));
    }
    EXPECT_EQ(read("old"), "old");
    // What came to stand in its place meanwhile, and a folder that went.
    OutputFile taken("taken"), gone("folder/gone"), held("old");
    for (OutputFile* file : {&taken, &gone, &held})
        file->write("new");
    ASSERT_TRUE(QDir().mkdir("taken") && QDir().rmdir("folder"));
    EXPECT_THAT([&taken] { taken.commit(); }, Refuses("taken: cannot be written: Is a directory"));
    EXPECT_THAT([&gone] { gone.commit(); }, Refuses("folder/gone: cannot be written: No such file"));
    const QString passing = QString(".kvmeasure-%1").arg(::getpid());
    ASSERT_TRUE(QDir().mkdir(passing));
    EXPECT_THAT([&held] { held.commit(); }, Refuses("old: cannot be written: File exists"));
    ASSERT_TRUE(QDir().rmdir(passing));
    EXPECT_EQ(listed(), "old");
    EXPECT_EQ(read("old"), "old");
}

TEST_F(OutputFiles, OfScratchFoldersGoUnlessSomebodyHoldsThem) {
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QFile::encodeName(QDir::currentPath()));
    QDir().mkpath("kvmeasure-left/work/deep");
    QDir().mkpath("kvmeasure-held");
    QDir().mkpath("kept");
    ASSERT_TRUE(QFile::link("kept", "kvmeasure-link"));
    FolderLock holder;
    holder.take("kvmeasure-held");
    QString path;
    {
        const ScratchFolder folder, second;
        path = folder.path();
        EXPECT_TRUE(QDir(path).exists() && QDir(second.path()).exists() && path != second.path());
        EXPECT_FALSE(QFileInfo::exists("kvmeasure-left")) << "nobody holds it";
    }
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_TRUE(QFileInfo::exists("kvmeasure-held") && QFileInfo("kvmeasure-link").isSymLink());
    write("file", "");
    qputenv("TMPDIR", QFile::encodeName(QDir::current().filePath("file")));
    EXPECT_THAT(
        [] { const ScratchFolder folder; },
        Refuses("file: a directory for temporary files cannot be made in it; name another one in TMPDIR"));
    before.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
}

TEST_F(OutputFiles, AreNoInputsAndNotEachOther) {
    write("in", "in");
    ASSERT_TRUE(QFile::link("in", "link"));
    QDir().mkdir("d");
    for (const char* same : {"in", "./in", "d/../in", "link"}) {
        EXPECT_TRUE(isSameFile("in", same)) << same;
        EXPECT_THAT(
            [same] {
                refuseOverwriting({"out", same}, {"", "in"});
            },
            Refuses("is read by this command"));
    }
    EXPECT_THAT([] { refuseOverwriting({"d/x", "d/../d/x"}, {}); }, Refuses("would be written twice"));
    EXPECT_NO_THROW(refuseOverwriting({"", "", "x", "d/x"}, {"in", "", ""}));
    EXPECT_EQ(partPath("d.x/p.svg", "1") + partPath("d.x/p", "1"), "d.x/p-1.svgd.x/p-1");
    EXPECT_EQ(stemOf("d/a.b.csv") + ' ' + stemOf("d/.kv") + ' ' + stemOf("a"), "a.b .kv a");
}

TEST_F(OutputFiles, OfAFolderAreReplacedByItsOwnAlone) {
    QDir().mkdir("f");
    OwnFiles("f").claim({"a", "b"});  // and killed before b was written
    write("f/a", "1");
    write("f/mine", "mine");
    OwnFiles files("f");
    EXPECT_TRUE(files.holds("b"));
    EXPECT_THAT([&files] { files.claim({"c", "mine"}); }, Refuses("f/mine: is there"));
    files.replace({"b"});
    EXPECT_EQ(read("f/a") + read("f/mine"), "nonemine");
    EXPECT_FALSE(OwnFiles("f").holds("a"));
    files.set({"p_*.svg"});
    EXPECT_TRUE(files.holds("p_1.svg"));
    EXPECT_FALSE(files.holds("p_1.png"));
    files.removeAll();
    EXPECT_EQ(QDir("f").entryList(QDir::Files | QDir::Hidden), QStringList("mine"));
    write("f/.kvmeasure", "../outside\n.\n..\nlink");  // names of another hand, of which one is in the folder
    write("outside", "1");
    EXPECT_TRUE(QFile::link("../outside", "f/link") && QFile::link("nowhere", "f/dangling"));
    EXPECT_THAT([] { OwnFiles("f").requireOwn({"dangling"}); }, Refuses("is there already"));
    OwnFiles("f").removeAll();
    EXPECT_EQ(listed(), "outside");
    EXPECT_FALSE(QFileInfo("f/link").isSymLink());
    FolderLock lock, second;
    lock.take("f");
    EXPECT_THAT([&second] { second.take("f"); }, Refuses("another run"));
}

}  // namespace
