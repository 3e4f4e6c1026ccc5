// Keeps scanner lines: as text for other programs, several binary records of different kinds in one file, and
// a scan.

#include <kvmath/kvmath>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>

using namespace KvMath;

int main() {
    KvProfile line;
    KvPointCloud<KvPointXYZ> scan;
    for (int i = 0; i < 100; ++i) {
        line.points.append(KvPointXY(0.5F * static_cast<float>(i), 3.25F));
        scan.points.append(KvPointXYZ(0.5F * static_cast<float>(i), 3.25F, 1.0F));
    }
    const QTemporaryDir directory;
    const QString text = directory.filePath("line.csv"), records = directory.filePath("lines.bin");

    // Text: x and y with decimal commas, a semicolon between.
    line.writeToCSVFile(text);
    KvProfile fromText;
    std::printf("text: %d points\n", fromText.readFromCSVFile(text, 0, 1));

    // A scan is a stack of lines with their places; its file holds their records and nothing else.
    KvProfileZSet stack, fromFile;
    for (int i = 0; i < 20; ++i) {
        stack.append(KvProfileZ());
        stack[i] = line;
    }
    stack.setZ(0.0F, 0.5F);
    if (!stack.writeToFile(directory.filePath("scan.bin")))
        return 1;
    const int profiles = fromFile.readFromFile(directory.filePath("scan.bin"));
    KvMatrixCloud heights;
    const int filled = fromFile.toMatrixCloud(heights, 1.0F, 1.0F);
    std::printf("scan: %d profiles, %d cells, height %.2f\n", profiles, filled,
                static_cast<double>(heights.sample(10.0F, 4.0F)));

    // Records follow each other in a file that the program opens.
    QFile file(records);
    if (!file.open(QIODevice::WriteOnly) || !line.writeToFile(file) || !scan.writeToFile(file))
        return 1;
    file.close();

    // A record of another kind is refused and the file stays where it was: the next kind can be tried.
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    while (!file.atEnd()) {
        const qint64 start = file.pos();
        KvPointCloud<KvPointXY> flat;
        KvPointCloud<KvPointXYZ> space;
        if (const int count = flat.readFromFile(file); count >= 0)
            std::printf("record at byte %lld: %d points x, y\n", static_cast<long long>(start), count);
        else if (const int spaceCount = space.readFromFile(file); spaceCount >= 0)
            std::printf("record at byte %lld: %d points x, y, z\n", static_cast<long long>(start),
                        spaceCount);
        else {
            std::printf("damaged record at byte %lld\n", static_cast<long long>(start));
            return 1;
        }
    }
    return 0;
}
