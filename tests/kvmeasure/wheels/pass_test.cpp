// Values of a pass against the truth, and the errors seen against the uncertainties stated. KVMEASURE_RUNS=40
// prints the table of docs/maintainers/uncertainty_study.md.

#include <kvmath/profile/profile_z.h>
#include <kvmeasure/report/pass_limits.h>
#include <kvmeasure/report/wheel_report.h>
#include <kvmeasure/wheels/gauge_values.h>
#include <kvmeasure/wheels/limits.h>
#include <kvmeasure/wheels/pass.h>
#include <simulator/train_pass.h>
#include <simulator/wheel_shape.h>
#include <tests/kvmeasure/calls.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

#include <cstdio>
#include <set>

namespace {

struct Seen {
    int count = 0, held = 0, missing = 0;
    double squares = 0, stated = 0;

    void add(double error, const StandardUncertainty& uncertainty) {
        missing += uncertainty.isKnown() == std::isfinite(error) ? 0 : 1;
        if (!uncertainty.isKnown() || !std::isfinite(error))
            return;
        ++count;
        held += std::fabs(error) <= uncertainty.expanded() ? 1 : 0;
        squares += error * error;
        stated += uncertainty.u * uncertainty.u;
    }
    double ratio() const { return std::sqrt(stated / squares); }
};

using Study = QMap<QString, Seen>;

/// Of the same wheel in dense points, without noise.
GaugeValues trueGaugeValues(const Simulator::WheelShape& shape) {
    GaugeProfile file;
    file.zero = GaugeZero::FlangeBack;
    constexpr double kStep = 0.02;
    for (int i = 0; i * kStep <= Simulator::kWheelWidth; ++i) {
        const double radius = Simulator::wornRadius(shape, i * kStep);
        if (std::isfinite(radius))
            file.points.emplace_back(i * kStep, radius);
    }
    return gaugeValues(wheelSection(file));
}

void addGaugeValues(const MeasuredSection& section, const WheelResult& wheel,
                    const Simulator::WheelShape& shape, Study& study) {
    const GaugeValues found = gaugeValues(wheelSection(section, wheel)), truth = trueGaugeValues(shape);
    for (const char* key : {"Sh", "Sd", "qR"})
        study[key].add(findValue(found.values, key)->value - findValue(truth.values, key)->value,
                       wheel.uncertainties.value(key));
}

void addWheel(const WheelResult& wheel, const Simulator::WheelShape& shape, Study& study) {
    const Simulator::SectionTruth truth = Simulator::sectionTruth(shape, 0);
    const auto radius = static_cast<double>(wheel.circle.radius);
    const auto add = [&](const char* key, double value, double wanted) {
        study[key].add(value - wanted, wheel.uncertainties.value(key));
    };
    add("flangeHeight", wheel.values.value[0], truth.flangeHeight);
    add("heightDeviation", wheel.values.value[8], truth.flangeHeight - wheel.nominal);
    add("thicknessFromBack", wheel.values.value[1], truth.thicknessFromBack);
    add("flangeSteepness", wheel.values.value[9], truth.flangeSteepness);
    add("radius", radius, truth.tipRadius);
    add("runningDiameter", 2 * (radius - wheel.values.value[0]), 2 * (truth.tipRadius - truth.flangeHeight));
    add("centreZ", static_cast<double>(wheel.circle.y), shape.treadDiameter / 2);
}

Study studyOf(const Simulator::PassRecipe& recipe) {
    const ScratchDirectory scratch;
    Study study;
    EXPECT_TRUE(Simulator::simulatePass(recipe, ".", nullptr));
    PostSettings settings("settings.ini");
    QStringList skipped;
    WheelPass pass(findRecordings({"."}, settings, skipped), settings);
    Splitting splitting;
    splitting.work = "work";
    pass.split(splitting);
    pass.measureDistances();
    std::vector<Simulator::Wheelset> train = trainOf(recipe);
    if (recipe.isBackwards)
        std::reverse(train.begin(), train.end());
    ValueOptions options;
    options.hasGaugeValues = true;
    pass.measureSections(options, [&](const MeasuredSection& section) {
        const int number = section.wheelset - 1;
        addGaugeValues(section, pass.wheelsets().at(number).wheels[section.side],
                       train.at(static_cast<std::size_t>(number)).wheels[section.side], study);
    });
    EXPECT_EQ(pass.wheelsets().size(), recipe.wheelsets);
    for (int w = 0; w < static_cast<int>(pass.wheelsets().size()) && w < recipe.wheelsets; ++w) {
        const WheelsetResult& found = pass.wheelsets().at(w);
        const Simulator::Wheelset& wheelset = train[static_cast<std::size_t>(w)];
        study["backToBack"].add(found.backToBack - wheelset.backToBack, found.backToBackUncertainty);
        for (const int side : {Left, Right})
            addWheel(found.wheels[side], wheelset.wheels[side], study);
    }
    return study;
}

TEST(WheelPass, UncertaintiesAreThoseSeenWhicheverWayTrainAndScannersRun) {
    const int runs = qEnvironmentVariableIntValue("KVMEASURE_RUNS");
    struct Case {
        double noise;
        bool isBackwards, isLeftMirrored, isRightMirrored;
        double uneven;
        bool isFan;
    };
    std::vector<Case> cases{{0.02, true, false, true, 0.9, false}, {0.05, false, true, true, 0, false}};
    if (runs > 0)
        cases = {{0.01, false, false, false, 0, false}, {0.02, false, false, false, 0, false},
                 {0.05, false, false, false, 0, false}, {0.1, false, false, false, 0, false},
                 {0.02, true, false, true, 0.9, false}, {0.02, false, false, false, 0, true}};
    for (const Case& each : cases) {
        Simulator::PassRecipe recipe;
        recipe.wheelsets = runs > 0 ? runs : 12;
        recipe.spacing = 40;
        recipe.noise = each.noise;
        recipe.isBackwards = each.isBackwards;
        recipe.view.isMirrored[Left] = each.isLeftMirrored;
        recipe.view.isMirrored[Right] = each.isRightMirrored;
        recipe.view.isFan = each.isFan;
        recipe.uneven = each.uneven;
        recipe.seed = 7;
        const Study study = studyOf(recipe);
        for (auto seen = study.begin(); seen != study.end(); ++seen) {
            SCOPED_TRACE(testing::Message() << seen.key().toStdString() << ", noise " << each.noise);
            const double share = double(seen->held) / seen->count;
            if (runs > 0)
                std::printf("%-18s noise %.2f%s%s  %.2f (%.0f)  u %.4f  n %d\n", qPrintable(seen.key()),
                            each.noise, each.isBackwards ? " backwards" : "", each.isFan ? " fan" : "",
                            seen->ratio(), 100 * share, std::sqrt(seen->stated / seen->count), seen->count);
            EXPECT_EQ(seen->missing, 0);
            EXPECT_GT(seen->count, recipe.wheelsets * 0.9);
            EXPECT_GT(seen->ratio(), runs > 0 ? 0.8 : 0.65);
            EXPECT_LT(seen->ratio(), runs > 0 ? 1.3 : 1.6);
            EXPECT_GT(share, 0.8);
        }
    }
}

/// Rewrites each record of a recording.
void changeRecords(const QString& name, const std::function<void(KvMath::KvProfileZ&)>& change) {
    QFile in(name), out("changed");
    ASSERT_TRUE(in.open(QIODevice::ReadOnly) && out.open(QIODevice::WriteOnly));
    for (KvMath::KvProfileZ record; record.readFromFile(in) >= 0; record = KvMath::KvProfileZ()) {
        if (!record.points.isEmpty())
            change(record);
        ASSERT_TRUE(record.writeToFile(out));
    }
    out.close();
    ASSERT_TRUE(in.remove() && out.rename(name));
}

/// The point of a wheel in view that lies nearest to the scanner; null where there is none.
KvMath::KvPointXY* tipOf(KvMath::KvProfileZ& record) {
    KvMath::KvPointXY* tip = nullptr;
    for (KvMath::KvPointXY& p : record.points) {
        if (p.y > 130 && p.y < 250 && (tip == nullptr || p.y < tip->y))
            tip = &p;
    }
    return tip;
}

TEST(WheelPass, NamesWhatScannersDoNotShowAndTakesTravelFromNeighbours) {
    const ScratchDirectory scratch;
    Simulator::PassRecipe recipe;
    recipe.wheelsets = 2;
    recipe.spacing = 40;
    ASSERT_TRUE(Simulator::simulatePass(recipe, ".", nullptr));
    scratch.write("pass_1006.bin", "");
    scratch.write("second_1003.bin", "");
    using Record = KvMath::KvProfileZ;
    const auto glint = [](Record& record) {
        if (tipOf(record) != nullptr)
            tipOf(record)->y -= 2;
    };
    const auto level = [](Record& record) {
        const bool isSeen = tipOf(record) != nullptr;
        for (KvMath::KvPointXY& p : record.points)
            p.y = isSeen ? 200 : p.y;
    };
    const auto alone = [](Record& record) {
        for (int i = 0; i < record.points.size() && std::fabs(double(record.z) - 1900) < 200; ++i)
            record.points[i] = {0.2F * float(i), 200};
    };
    const auto without = [](double from, double to) {
        return [from, to](Record& record) {
            if (double(record.z) > from && double(record.z) < to)
                record.z = std::nanf("");
        };
    };
    const struct {
        int serial;
        std::function<void(Record&)> change;
        double kept;  // share of the recording
        const char* notes;
        double travel;
    } cases[] = {
        {1004, [](Record&) {}, 1, "", 1000},
        {1003, glint, 1, "SENSOR3: the flange tip stands 2.0 mm apart: a reflection; the radius is", 1000},
        {1013, glint, 1, "SENSOR13: the flange tip stands 2.0 mm apart: a reflection; the radius is", 1000},
        {1003, level, 1, "SENSOR3: the flange tip lies 134.2 mm beside the others across the track", 1000},
        {1001, [](Record&) {}, 0.8, "SENSOR1 begins or ends in the wheel: its middle is not known", 1000},
        {1004, alone, 1, "", 1000},
        {1004, without(900, 1100), 1, "", 1000},
        {1004, without(0, 1100), 1, "", 1000},
        {1004, without(900, 2000), 1, "", 1000},
        {1004, without(0, 1e6), 1, "", kNaN}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const QString name = QString("pass_%1.bin").arg(c.serial);
        const QByteArray whole = scratch.read(name);
        changeRecords(name, c.change);
        const QByteArray changed = scratch.read(name);
        scratch.write(name, changed.left(int(c.kept * double(changed.size()))));
        PostSettings settings("settings.ini");
        QStringList skipped;
        WheelPass pass(findRecordings({"."}, settings, skipped), settings);
        Splitting splitting;
        splitting.work = "work";
        EXPECT_THAT(skipped.join('|'),
                    testing::AllOf(Says("SENSOR6 has no part"), Says("SENSOR3 has the recording")));
        pass.split(splitting);
        pass.measureDistances();
        ValueOptions options;
        options.hasUncertainties = false;
        pass.measureSections(options, [](const MeasuredSection&) {});
        QStringList notes;
        for (const WheelsetResult& wheelset : pass.wheelsets()) {
            notes += wheelset.notes + wheelset.wheels[Left].notes + wheelset.wheels[Right].notes;
            for (const WheelResult& wheel : wheelset.wheels)
                EXPECT_EQ(std::isfinite(wheel.circle.radius), wheel.notes.isEmpty());
        }
        EXPECT_THAT(notes.join('|'), Says(c.notes));
        EXPECT_EQ(pass.notes().filter("no other scanner saw a wheel").size(), &c == cases + 5 ? 1 : 0);
        EXPECT_EQ(notes.isEmpty(), *c.notes == '\0') << notes.join('|').toStdString();
        ASSERT_EQ(pass.wheelsets().size(), 2);
        QString reason;
        EXPECT_EQ(pass.viewsOf(0, 4, reason).isEmpty(), std::isnan(c.travel));
        EXPECT_EQ(reason, std::isnan(c.travel) ? "its records have no travel" : "");
        EXPECT_EQ(std::isnan(pass.wheelsets()[0].z), std::isnan(c.travel));
        EXPECT_FALSE(std::fabs(double(pass.wheelsets()[0].z) - c.travel) > 1e-3);
        scratch.write(name, whole);
    }
}

// By the scanner under which it comes to lie. Its sides fall over 3 mm, the scanner looks along a ray.
TEST(WheelPass, ShowsBreakoutsWhereTheyAre) {
    const ScratchDirectory scratch;
    Simulator::PassRecipe recipe;
    recipe.wheelsets = 5;
    recipe.breakouts = 8;
    recipe.seed = 8;
    ASSERT_TRUE(Simulator::simulatePass(recipe, ".", nullptr));
    const auto train = Simulator::trainOf(recipe);
    PostSettings settings("settings.ini");
    QStringList skipped;
    WheelPass pass(findRecordings({"."}, settings, skipped), settings);
    Splitting splitting;
    splitting.work = "work";
    pass.split(splitting);
    pass.searchDefects();
    ValueOptions options;
    options.hasUncertainties = false;
    int seen = 0;
    std::set<int> seenBy;
    pass.measureSections(options, [&](const MeasuredSection& section) {
        const auto& defects = train[std::size_t(section.wheelset) - 1].wheels[section.side].defects;
        EXPECT_EQ(section.defect.isKnown(), !defects.empty());
        if (defects.empty())
            return;
        const double angle = defects[0].angle;
        const int outer = angle < -10 ? -1 : angle > 10 ? 1 : 0;
        EXPECT_EQ(section.defect.scanner, middleScanner(section.side) + outer);
        EXPECT_NEAR(section.defect.from, defects[0].from + 0.8, 0.7);
        EXPECT_NEAR(section.defect.to, defects[0].to - 0.8, 0.7);
        EXPECT_NEAR(section.defect.farthest / defects[0].depth, 0.9, 0.2) << "not in its middle";
        EXPECT_GT(section.defect.points, 50);
        EXPECT_NEAR(section.searchFrom, 58.5, 6) << "wheelsets run beside the middle";
        seenBy.insert(section.defect.scanner);
        ++seen;
    });
    EXPECT_EQ(seen, recipe.breakouts);
    EXPECT_EQ(seenBy, (std::set<int>{3, 4, 5, 11, 12, 13}));
    EXPECT_EQ(wheelJson(pass, {})["wheelsets"].toArray()[4].toObject()["wheelset"], 5);
}

// A new wheel of radius 460 that rolls through the plane of a scanner, which stands off; a tenth of its
// points are strays.
TEST(ScannerErrors, AreThoseThatWerePutIn) {
    std::vector<double> laterals, radii;
    for (double lateral = 0.5; lateral <= 130; lateral += 0.1) {
        laterals.push_back(lateral);
        radii.push_back(460 + Simulator::s1002Height(lateral));
    }
    const ReferenceSection section(laterals, radii);
    constexpr double back = -1390;
    for (const Vector& put : {Vector(0, 0), Vector(3, -18), Vector(-8, 21)}) {
        const double x = put.x, y = put.y, z = put.x / 4 - 1, lean = put.y / 2000;
        std::mt19937 random(3);
        std::normal_distribution<double> noise(0, 0.01);
        QList<ReferenceView> views;
        for (double axis = 40; axis <= 380; axis += 20) {
            ReferenceView view{axis, {}};
            for (double lateral = 1; lateral < 130; lateral += 0.5) {
                const double radius = section.radius(lateral) + noise(random) - (random() % 10 == 0 ? 4 : 0);
                const double pivot = back + ReferenceSection::kRunningCircle;
                const double place = lateral + back + y,
                             height = 460 - std::sqrt(radius * radius - (axis - 200) * (axis - 200)) + z -
                                      lean * pivot;
                const double size = 1 + lean * lean;
                view.points.points.append({float(200 + x), float((place - lean * height) / size),
                                           float((height + lean * place) / size)});
            }
            views.append(view);
        }
        const ScannerError found = KvMeasure::errorOf(views, section, back);
        EXPECT_NEAR(found.x, x, 0.01);
        EXPECT_NEAR(found.y, y, 0.01);
        EXPECT_NEAR(found.z, z, 0.01);
        EXPECT_NEAR(found.lean, lean, 1e-4);
        EXPECT_NEAR(found.deviation, 0.01, 1e-3);
        EXPECT_NEAR(double(found.points), 0.9 * 18 * 258, 0.04 * 18 * 258);
    }
    EXPECT_TRUE(std::isnan(KvMeasure::errorOf({ReferenceView{0, {}}}, section, back).x)) << "no points";
}

TEST(PassLimits, AWheelWithABreakoutIsOutWhateverItsValues) {
    WheelLimit none;
    none.symbol = "rollover";
    PassLimits limits({none}, {}, {1});
    QList<WheelsetResult> train{WheelsetResult()};
    train[0].wheels[Right].defect = 1;
    limits.judgeAll(train, false);
    QJsonObject json{{"wheelsets", QJsonArray{QJsonObject()}}};
    limits.addTo(json);
    const QJsonObject wheelset = json["wheelsets"].toArray()[0].toObject();
    EXPECT_EQ(wheelset["left"].toObject()["verdict"].toString(), "NOT MEASURED");
    EXPECT_EQ(wheelset["right"].toObject()["verdict"].toString(), "OUT");
    EXPECT_EQ(json["bogies"].toArray()[0].toObject()["verdict"].toString(), "OUT");
    EXPECT_EQ(json["verdict"].toString(), "OUT");
}

TEST(WheelLimits, JudgeByDiameter) {
    const ScratchDirectory scratch;
    const QString path =
        scratch.write("limits.csv", "quantity,symbol,diameter_from,diameter_to,minimum,maximum,note\n"
                                    "flange thickness,Sd,840,,20,33,\"22, abroad\"\n"
                                    "flange thickness,Sd,330,840,27.5,33,\nflange gradient,qR,330,,6.5,,\n");
    const WheelLimits limits = readWheelLimits(path);
    const struct {
        double sd, diameter;
        const char* verdict;
    } cases[] = {{20, 900, "good"},    {19.999, 900, "OUT"},      {33, 900, "good"},
                 {33.001, 900, "OUT"}, {25, 840, "OUT"},          {25, 840.001, "good"},
                 {27.5, 840, "good"},  {25, NAN, "NOT MEASURED"}, {30, NAN, "good"},
                 {34, NAN, "OUT"},     {30, 100, "NOT MEASURED"}, {NAN, 900, "NOT MEASURED"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.sd << " at " << each.diameter);
        SectionValue sd{"Sd", "", "mm", each.sd, std::isnan(each.sd) ? "not seen" : "", ""};
        for (const WheelLimits& rows : {limits, WheelLimits(limits.rbegin(), limits.rend())}) {
            const std::vector<LimitVerdict> verdicts = judge(rows, {sd}, each.diameter);
            ASSERT_EQ(verdicts.size(), 1U);
            EXPECT_EQ(overallVerdict(verdicts), each.verdict);
            EXPECT_EQ(verdicts[0].reason.isEmpty(), verdicts[0].kind == LimitVerdict::Good);
        }
    }
    const Refused refused[] = {
        {"symbol,minimum,maximum\nsd,1,2\n", "did you mean \"Sd\""},
        {"symbol,minimum\nSd,1\n", "there is no \"maximum\""},
        {"symbol,minimum,maximum\nSd,,\n", "neither minimum nor maximum"},
        {"symbol,minimum,maximum\nSd,3,2\n", "minimum 3 is above maximum 2"},
        {"symbol,minimum_cm,maximum_cm\nSd,0.1,0.05\n", "minimum 1 is above maximum 0.5"},
        {"symbol,diameter_from,diameter_to,minimum,maximum\nSd,9,3,1,2\n", "diameter_from 9 is not below"},
        {"symbol,minimum,maximum\nSd,1,2\nSd,1,3\n", "line 3: holds for diameters that line 2"}};
    for (const auto& each : refused)
        EXPECT_THAT([&] { readWheelLimits(scratch.write("r.csv", each.text)); }, Refuses(each.reason));
    EXPECT_EQ(errorOf([] { readWheelLimits("r.csv"); }).line(), 3) << "the later one";
}

}  // namespace
