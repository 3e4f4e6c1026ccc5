#include <kvmath/base/version.h>
#include <kvmath/base/version_p.h>

#include <tests/support/prelude.h>

#include <QtCore/QByteArray>

TEST(Version, ReadsMonthsByTheirLettersAndTakesAnyTextAsDate) {
    const QByteArray cases =
        "Jan 10 2031=20310110;Feb 28 2031=20310228;Mar 31 2031=20310331;Apr  1 2031=20310401;"
        "May  9 2031=20310509;Jun 30 2031=20310630;Jul 04 2031=20310704;Aug 11 2031=20310811;"
        "Sep 12 2031=20310912;Oct 13 2031=20311013;Nov 14 2031=20311114;Dec 15 9999=99991215;"
        "F?? 01 2000=20000201;S=00000900;Ap? 02=00000402;Au? 03=00000803;Ju? 04=00000004;"
        "J?n 05=00000005;Ma? 1x=00000001;=00000000;Mi? 06=00000006;A?? 07=00000007;"
        "Dec            =00001200;dec 19 20a8=00200019;"
        "Dec 19 2018777777777777777777777777777777=20181219";
    for (const QByteArray& row : cases.split(';')) {
        const QByteArray date = row.left(row.indexOf('=')), digits = row.mid(row.indexOf('=') + 1);
        char text[KvMath::Internal::kVersionSize];
        KvMath::Internal::formatVersion(date.constData(), text);
        EXPECT_EQ(text, "2.1.0." + digits) << date.constData();
    }
}

TEST(Version, NamesTheBuildThroughTheSamePointersOnEveryCall) {
    char *name = nullptr, *version = nullptr, *nameAgain = nullptr, *versionAgain = nullptr;
    KvMath::GetVersion(name, version);
    EXPECT_STREQ(name, "KvMath library");
    EXPECT_STREQ(version, "2.1.0.20181219");
    KvMath::GetVersion(nameAgain, versionAgain);
    EXPECT_TRUE(nameAgain == name && versionAgain == version);
}
