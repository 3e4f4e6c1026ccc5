// Numbers, words and units of length in texts.

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/length_unit.h>
#include <kvmeasure/base/text.h>
#include <tests/kvmeasure/calls.h>
#include <tests/support/random_data.h>

namespace {

TEST(Texts, NumbersAreReadWhole) {
    for (const auto& [text, expected] :
         {std::pair("3", 3.0), {" -1.5e-3 ", -0.0015}, {"+2", 2}, {"1e308", 1e308}}) {
        double value = 7;
        EXPECT_TRUE(parseNumber(text, value)) << text;
        EXPECT_EQ(value, expected);
    }
    for (const char* text : {"", " ", "1,5", "1 2", "3mm", "nan", "inf", "1e309", "0x10", "--1", "1e"}) {
        double value = 7;
        EXPECT_FALSE(parseNumber(text, value)) << text;
        EXPECT_EQ(value, 7) << "untouched";
    }
    for (const char* text : {"5", "5deg", "5 deg", " 5\u00B0"}) {
        double value = 0;
        EXPECT_TRUE(parseQuantity(QString::fromUtf8(text), degreeUnits(), value)) << text;
        EXPECT_EQ(value, 5);
    }
    double value = 0;
    EXPECT_FALSE(parseQuantity("5 mm", degreeUnits(), value) || parseQuantity("deg", degreeUnits(), value));
}

TEST(Texts, NumbersAreShownWithoutASignOfNothing) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::pair<QString, const char*> cases[] = {
        {mm(-0.00004), "0.0000"}, {mm(-0.00006), "-0.0001"},       {mm(12345.67896), "12345.6790"},
        {mm(-2.5e8), "-2.5e+08"}, {mm(1.2e7), "1.2e+07"},          {mm(9999999.5), "9999999.5000"},
        {mm(inf), "inf"},         {mm(std::nan("")), "nan"},       {percent(1, 3), "33.33 %"},
        {percent(1, 0), "-"},     {percent(1, std::nan("")), "-"}, {fixed(-0.4, 0), "0"},
        {fixed(-0.6, 0), "-1"},   {counted(1, "line"), "1 line"},  {counted(0, "line"), "0 lines"},
    };
    for (const auto& [shown, expected] : cases)
        EXPECT_EQ(shown, expected);
    EXPECT_EQ(fixed(-0.00001, 2), "0.00");
}

/// Halves of the last decimal, numbers beside them, and any others, as Qt writes them.
TEST(Texts, MillimetresRoundAsQtDoes) {
    Draws draws(8);
    for (int i = 0; i < 200'000; ++i) {
        const double size = std::pow(10, i % 13 - 5);
        double value = draws.real(-size, size);
        if (i % 3 == 1)
            value = std::round(value * 16) / 32 + (i % 2 == 0 ? 0.03125 : 0.00005);
        if (i % 3 == 2)
            value = std::nextafter(std::round(value * 1e4) / 1e4 + 0.00005, i % 2 == 0 ? -1e9 : 1e9);
        if (std::fabs(value) < 1e7) {
            ASSERT_EQ(mm(value), fixed(value, 4)) << QString::number(value, 'g', 17).toStdString();
        }
    }
}

TEST(Texts, WordsAreListedAndTheNearestIsSuggested) {
    EXPECT_EQ(alternatives({"a", "b", "c"}), "a, b or c");
    EXPECT_EQ(alternatives({"a", "b"}), "a or b");
    EXPECT_EQ(alternatives({"a"}), "a");
    EXPECT_EQ(alternatives({}), "");
    const QStringList words{"median", "mean", "middle-by-x"};
    const QString cases =
        "meidan:median|MEAN:mean|mid:middle-by-x|smooth:median|xyz:|mi:|:|med:median|meann:mean|"
        "qqqmean:|" +
        QString(65, 'm') + ':';
    for (const QString& each : cases.split('|')) {
        const QString near = each.section(':', 1);
        EXPECT_EQ(suggestion(each.section(':', 0, 0), words, {{"smooth", "median"}}),
                  near.isEmpty() ? QString() : QString("; did you mean \"%1\"?").arg(near))
            << each.toStdString();
    }
    EXPECT_EQ(filledIn("%1 of %2, %3%", QString("a%2"), 0.1F + 1, 10), "a%2 of 1.1, 10%");
    EXPECT_EQ(filledIn("%0 %2 %", QString("a")), "%0 %2 %") << "no such value";
    for (const char* plain : {"H\u00F6he ~ \u4E2D", "a b", ""})
        EXPECT_EQ(printable(QString::fromUtf8(plain)), QString::fromUtf8(plain));
    EXPECT_EQ(printable("a\nb\x1b"
                        "c" +
                        QString(QChar(0x202E)) + QChar(0x9B) + QChar(0x2067)),
              "a\\u000ab\\u001bc\\u202e\\u009b\\u2067");
}

TEST(LengthUnits, AreSymbolsOfOneCaseOrNamesOfAny) {
    const struct {
        const char *word, *name;
        double mm;  // of 1000 units
    } cases[] = {{"um", "um", 1},         {"\u00B5m", "um", 1},  {"\u03BCm", "um", 1},
                 {" Microns ", "um", 1},  {"nm", "nm", 0.001},   {"mil", "mil", 25.4},
                 {"THOU", "mil", 25.4},   {"\"", "inch", 25400}, {"in.", "inch", 25400},
                 {"METRES", "m", 1000000}};
    for (const auto& c : cases) {
        const LengthUnit* unit = findLengthUnit(QString::fromUtf8(c.word));
        ASSERT_NE(unit, nullptr) << c.word;
        EXPECT_STREQ(unit->name, c.name);
        EXPECT_EQ(unit->toMm(1000), c.mm) << c.word << ": rounded once";
    }
    for (const char* word : {"Mm", "NM", "MM", "M", "km", "", " ", "mm cm", "mmm"})
        EXPECT_EQ(findLengthUnit(word), nullptr) << word;
    for (const QString& name : lengthUnitNames())
        EXPECT_NE(findLengthUnit(name), nullptr);
    for (const auto& [text, name] : {std::pair("all in um", "um"), {"x_UM:", "um"}, {"unit: Inch", "inch"}})
        EXPECT_STREQ(unitMentioned(text)->name, name);
    for (const char* text : {"all in mm", "line 3 m", "in the part", "mil 5", "drum", ""})
        EXPECT_EQ(unitMentioned(text), nullptr) << text;
}

}  // namespace
