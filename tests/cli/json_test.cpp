// The keys of JSON: all of them are in the documentation.

#include <tests/cli/program.h>

#include <QtCore/QSet>

namespace {

class Json : public Program {
protected:
    static QSet<QString> documentedKeys() {
        QFile file(KVMATH_FORMATS_PAGE);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(file.readAll());
        const int start = int(page.indexOf("\n## JSON of"));
        QSet<QString> keys;
        const QStringList parts = page.mid(start, page.indexOf("\n## ", start + 1) - start).split('`');
        for (int i = 1; i < parts.size(); i += 2)
            keys << parts[i];
        for (const char* key : {"contourGap", "splitTolerance", "minLineLength", "refineIterations",
                                "allowReversed", "cornerTolerance"})
            keys << key;  // of the template document
        return keys;
    }

    static void collectKeys(const QJsonValue& value, QStringList& keys) {
        for (const QJsonValue& entry : value.toArray())
            collectKeys(entry, keys);
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            keys << it.key();
            if (it.key() != "parameters")  // the options of a command, or what a fit has by its kind
                collectKeys(it.value(), keys);
        }
    }
};

TEST_F(Json, KeysAreDocumented) {
    const QSet<QString> documented = documentedKeys();
    QByteArray table = "x,y,z\n";
    for (int i = 0; i < 36; ++i)
        table += QByteArray::number(i % 6) + ',' + QByteArray::number(i % 3) + ',' +
                 QByteArray::number(i % 6 + 0.1 * (i % 7)) + '\n';
    write("f.csv", table);
    const char* const commands[] = {
        "simulate profile --out p.csv --noise 0.02 --from -20 --to 20",
        "info p.csv",
        "filter p.csv o.csv --steps sort-x",
        "lines p.csv",
        "teach p.csv",
        "teach p.csv --longest 2 --out t --measure d=distance~0~1:max~1;r=rotation~0~1:+-1",
        "match p.csv --template t",
        "measure p.csv --region R=x~-6..6 --measure t=max~in~R:max~1;m=mean~in~R",
        "measure p.csv --region R=x~-6..6 --measure t=max~in~R --out m",
        "measure p.csv p.csv p.csv --region R=x~-6..6 --measure t=max~in~R:max~9;w=roughness~in~R~cutoff~0.8 "
        "--stats",
        "form straightness p.csv",
        "form flatness f.csv --strays 5",
        "form roundness p.csv",
        "form step p.csv --edges -2..2,-1..1",
        "form roughness p.csv --cutoff 0.8",
        "stats f.csv --column z --limits -5..5 --reference 1",
        "stats f.csv --column z --by y",
        "stats study f.csv --part x --appraiser y --value z",
        "stats study f.csv --part x --appraiser y --value z --limits 0..1 --method range",
        "stats study f.csv --part z --appraiser y --value z",
        "stats anova f.csv --group x --value z",
        "stats bias f.csv --value z --reference 1 --limits 0..2",
        "stats linearity f.csv --value z --reference x",
        "plan show m",
        "plan check m p.csv",
        "fit p.csv --circle",
        "fit p.csv --line",
        "simulate scan --out s.kvs",
        "simulate pass --wheelsets 1 --out train",
        "scan info s.kvs",
        "scan convert s.kvs s.ply",
        "scan slice s.ply s2.kvs --step 0.5",
        "scan section s.kvs --at-scan 20",
        "scan grid s.kvs --out g.csv",
        "scan plane s.kvs",
        "scan outline s.kvs",
        "calibrate simulate flat.raw",
        "calibrate simulate teeth.raw --target toothed",
        ("calibrate build flat.raw t.tbl --z-range 100 --x-range 140 --teeth teeth.raw --tooth-pitch 10 "
         "--tooth-height 5"),
        "calibrate info flat.raw t.tbl",
        "calibrate check t.tbl --truth flat.raw.truth.json",
        "wheels pass train --out results",
        "simulate circumference --flat 120:60 --out wheel.csv",
        "wheels roundness wheel.csv"};
    for (const QString command : commands) {
        const Outcome result = run((command + " --json").split(' ').replaceInStrings("~", " "));
        QStringList keys;
        collectKeys(result.json(), keys);
        EXPECT_FALSE(keys.isEmpty()) << command.toStdString() << result.err;
        for (const QString& key : keys)
            EXPECT_TRUE(documented.contains(key)) << command.toStdString() << ": " << key.toStdString();
    }
}

}  // namespace
