#include <gtest/gtest.h>

#include <QtQml/qqmlextensionplugin.h>
#include <QQmlComponent>
#include <QQmlEngine>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "DialogMotion.h"
#include "SpringCurve.h"

Q_IMPORT_QML_PLUGIN(Corvantis_ShellPlugin)

namespace {

using Direction = DialogDismissDirection;

// A 400 x 800 view standing 20 points down in its parent, so that its frame
// (centre y 420, bottom 820) and its own bounds (bottom 800) tell apart; a
// card 300 high under a 60 point image.
DialogMotion loadedMotion(Direction direction = Direction::both, bool rubber = true) {
    DialogMotion motion;
    motion.setLayout(QRectF(0, 20, 400, 800), 300, 60);
    motion.dismissDirection = direction;
    motion.rubberEnabled = rubber;
    motion.cardLoaded();
    return motion;
}

TEST(DialogMotionPlacement, HomeFollowsTheOffsetBeforeAndAfterTheLoad) {
    DialogMotion motion;
    motion.setLayout(QRectF(0, 20, 400, 800), 300, 60);
    EXPECT_FALSE(motion.setContentOffset(-150).has_value());
    motion.cardLoaded();
    EXPECT_EQ(motion.homePosition(), QPointF(200, 270));
    EXPECT_EQ(motion.lastLocation(), QPointF(200, 270));

    const auto moved = motion.setContentOffset(40);
    ASSERT_TRUE(moved.has_value());
    EXPECT_EQ(*moved, QPointF(200, 460));
    // The next drag starts from the new home, not from where the card was.
    EXPECT_EQ(motion.lastLocation(), QPointF(200, 460));
    EXPECT_EQ(motion.pan(DialogPanState::changed, 10).dragged, QPointF(200, 470));
}

TEST(DialogMotionPlacement, EntryRisesFromBelowTheBoundsOnce) {
    DialogMotion motion = loadedMotion();
    const auto start = motion.beginEntry();
    ASSERT_TRUE(start.has_value());
    EXPECT_EQ(*start, QPointF(200, 950));
    EXPECT_EQ(motion.center(), QPointF(200, 420));
    EXPECT_FALSE(motion.beginEntry().has_value());
    EXPECT_EQ(motion.beginDismissal(), QPointF(200, 950));
}

struct DragCase {
    const char* name;
    Direction direction;
    bool rubber;
    std::vector<double> translations;  // one per callback of the same drag
    double expectedY;
};

class DialogDrag : public testing::TestWithParam<DragCase> {};

TEST_P(DialogDrag, PlacesTheCardOnTheVerticalAxis) {
    const DragCase& c = GetParam();
    DialogMotion motion = loadedMotion(c.direction, c.rubber);
    motion.touchBegan();
    DialogPanStep step;
    for (double t : c.translations) {
        step = motion.pan(DialogPanState::changed, t);
    }
    EXPECT_TRUE(step.moved);
    EXPECT_EQ(step.move, DialogMove::none);
    EXPECT_DOUBLE_EQ(step.dragged.x(), 200);
    EXPECT_DOUBLE_EQ(step.dragged.y(), c.expectedY);
    EXPECT_EQ(motion.center(), step.dragged);
}

// Home is at y 420. Under the band a pull of d points past home moves the
// card by t x (sqrt(1 / (d + 1)) + 0.1): 99 -> 0.2, 8 -> 0.4333.., 3 -> 0.6.
INSTANTIATE_TEST_SUITE_P(
    Drags, DialogDrag,
    testing::Values(DragCase{"bandFar", Direction::bottom, true, {-99}, 400.2},
                    DragCase{"bandMid", Direction::bottom, true, {-8}, 416.53333333333333},
                    DragCase{"bandNear", Direction::bottom, true, {-3}, 418.2},
                    DragCase{"downFree", Direction::bottom, true, {50}, 470},
                    // Back down from 418.2: the card still stands above home, so the band
                    // holds with d = 1, though the finger is now below its start.
                    DragCase{
                        "bandJudgedFromCard", Direction::bottom, true, {-3, 1}, 420.80710678118655},
                    // From 470 the pull to 400 is judged past home too late: one to one.
                    DragCase{"bandAfterBelow", Direction::bottom, true, {50, -20}, 400},
                    DragCase{"bothFree", Direction::both, true, {-99}, 321},
                    DragCase{"topFree", Direction::top, true, {-99}, 321},
                    DragCase{"noneFree", Direction::none, true, {-99}, 321},
                    DragCase{"bandOff", Direction::bottom, false, {-99}, 321}),
    [](const testing::TestParamInfo<DragCase>& info) { return std::string(info.param.name); });

struct ReleaseCase {
    const char* name;
    Direction direction;
    double vx;
    double vy;
    DialogMove expected;
};

class DialogRelease : public testing::TestWithParam<ReleaseCase> {};

TEST_P(DialogRelease, DecidesFromTheSpeedAndItsSign) {
    const ReleaseCase& c = GetParam();
    DialogMotion motion = loadedMotion(c.direction);
    EXPECT_EQ(motion.release(QPointF(c.vx, c.vy)), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Releases, DialogRelease,
    testing::Values(
        ReleaseCase{"exactly200Down", Direction::both, 0, 200, DialogMove::snapBack},
        ReleaseCase{"exactly200Up", Direction::both, 0, -200, DialogMove::snapBack},
        ReleaseCase{"exactly200Slanted", Direction::both, 120, 160, DialogMove::snapBack},
        // 200.000004 squared rounds to 40000 in single precision.
        ReleaseCase{"roundsDownTo200", Direction::both, 0, 200.000004, DialogMove::snapBack},
        ReleaseCase{"justOver200", Direction::both, 0, 200.0001, DialogMove::flingDown},
        ReleaseCase{"slowFarDrag", Direction::both, 3, 150, DialogMove::snapBack},
        ReleaseCase{"bothDown", Direction::both, 0, 201, DialogMove::flingDown},
        ReleaseCase{"bothUp", Direction::both, 0, -201, DialogMove::flingUp},
        ReleaseCase{"sidewaysCountsAsUp", Direction::both, 300, 0, DialogMove::flingUp},
        ReleaseCase{"bottomDown", Direction::bottom, 0, 1000, DialogMove::flingDown},
        ReleaseCase{"bottomUp", Direction::bottom, 0, -1000, DialogMove::snapBack},
        ReleaseCase{"topUp", Direction::top, 0, -1000, DialogMove::flingUp},
        ReleaseCase{"topDown", Direction::top, 0, 1000, DialogMove::snapBack},
        ReleaseCase{"noneDown", Direction::none, 0, 5000, DialogMove::snapBack},
        ReleaseCase{"noneUp", Direction::none, 0, -5000, DialogMove::snapBack}),
    [](const testing::TestParamInfo<ReleaseCase>& info) { return std::string(info.param.name); });

TEST(DialogMotionRelease, FlingsLeaveByTheFrameAndTheImage) {
    DialogMotion motion = loadedMotion();
    // Down: frame bottom 820 + half the card 150 + the image 60.
    EXPECT_EQ(motion.targetOf(DialogMove::flingDown), QPointF(200, 1030));
    EXPECT_EQ(motion.targetOf(DialogMove::flingUp), QPointF(200, -150));
    EXPECT_EQ(motion.targetOf(DialogMove::snapBack), QPointF(200, 420));
}

TEST(DialogMotionRelease, EndedDragsSettleWhereTheirMoveGoes) {
    DialogMotion motion = loadedMotion(Direction::bottom);
    DialogPanStep step = motion.pan(DialogPanState::ended, -99, QPointF(0, -3000));
    EXPECT_DOUBLE_EQ(step.dragged.y(), 400.2);
    EXPECT_EQ(step.move, DialogMove::snapBack);
    EXPECT_EQ(step.target, QPointF(200, 420));
    EXPECT_EQ(motion.center(), QPointF(200, 420));

    step = motion.pan(DialogPanState::ended, 30, QPointF(0, 800));
    EXPECT_EQ(step.move, DialogMove::flingDown);
    EXPECT_EQ(motion.center(), QPointF(200, 1030));
}

TEST(DialogMotionRelease, CancelledAndFailedDragsJumpHome) {
    for (DialogPanState state : {DialogPanState::cancelled, DialogPanState::failed}) {
        DialogMotion motion = loadedMotion();
        motion.pan(DialogPanState::changed, 120);
        // A fast velocity must not matter: only an ended drag reads it.
        const DialogPanStep step = motion.pan(state, 130, QPointF(0, 5000));
        EXPECT_EQ(step.move, DialogMove::jumpHome);
        EXPECT_EQ(motion.center(), QPointF(200, 420));
    }
}

TEST(DialogMotionRelease, CallbacksWithoutNumbersLeaveTheCardAlone) {
    const double nan = std::nan("");
    const double inf = std::numeric_limits<double>::infinity();
    for (const auto& [translation, velocity] :
         {std::pair{nan, QPointF(0, 900)}, std::pair{10.0, QPointF(0, nan)},
          std::pair{inf, QPointF()}, std::pair{10.0, QPointF(-inf, 0)}}) {
        DialogMotion motion = loadedMotion();
        const DialogPanStep step = motion.pan(DialogPanState::ended, translation, velocity);
        EXPECT_FALSE(step.moved);
        EXPECT_EQ(motion.center(), QPointF(200, 420));
    }
}

TEST(DialogMotionRelease, DraggingOffLeavesTheCardAlone) {
    DialogMotion motion = loadedMotion();
    motion.allowDragGesture = false;
    for (DialogPanState state :
         {DialogPanState::changed, DialogPanState::ended, DialogPanState::cancelled}) {
        const DialogPanStep step = motion.pan(state, 200, QPointF(0, 5000));
        EXPECT_FALSE(step.moved);
        EXPECT_EQ(step.move, DialogMove::none);
        EXPECT_EQ(motion.center(), QPointF(200, 420));
    }
}

TEST(DialogMotionBounce, GoesOutFromTheDragOriginAndBackHome) {
    DialogMotion motion;
    EXPECT_FALSE(motion.bounce(-30, 0.4).has_value());

    motion = loadedMotion();
    // The card stands at 470 after a drag, but the nudge starts from the
    // drag's origin, 420.
    motion.pan(DialogPanState::changed, 50);
    const auto legs = motion.bounce(-30, 0.4);
    ASSERT_TRUE(legs.has_value());
    EXPECT_EQ(legs->out, QPointF(200, 390));
    EXPECT_EQ(legs->back, QPointF(200, 420));
    EXPECT_DOUBLE_EQ(legs->legDuration, 0.2);
    EXPECT_EQ(motion.center(), QPointF(200, 420));
}

// Samples of a curve over its duration, ends included.
std::vector<double> sample(const SpringCurve& curve, int count = 2000) {
    std::vector<double> values;
    for (int i = 0; i <= count; ++i) {
        values.push_back(curve.progress(double(i) / count));
    }
    return values;
}

struct SpringCase {
    const char* name;
    SpringCurve curve;
    double startSlope;  // initial velocity x duration
};

class DialogSpring : public testing::TestWithParam<SpringCase> {};

TEST_P(DialogSpring, RunsFromZeroToOneAtItsInitialSpeed) {
    const SpringCase& c = GetParam();
    EXPECT_EQ(c.curve.progress(0), 0);
    EXPECT_EQ(c.curve.progress(1), 1);
    EXPECT_EQ(c.curve.progress(-1), 0);
    EXPECT_EQ(c.curve.progress(2), 1);
    EXPECT_NEAR(c.curve.progress(0.9999), 1, 2e-3);
    EXPECT_NEAR(c.curve.progress(1e-5) / 1e-5, c.startSlope, 0.01);
}

INSTANTIATE_TEST_SUITE_P(
    Springs, DialogSpring,
    testing::Values(SpringCase{"entry", SpringCurve::entry(0.2), 1.2},
                    SpringCase{"slowEntry", SpringCurve::entry(0.5), 3.0},
                    SpringCase{"snapBack", SpringCurve::snapBack(), 0.7},
                    // Nonsense is logged and replaced, never a broken curve.
                    SpringCase{"invalid", SpringCurve(-1, 0, std::nan("")), 0.0}),
    [](const testing::TestParamInfo<SpringCase>& info) { return std::string(info.param.name); });

TEST(DialogSpringCharacter, FullDampingNeverOvershoots) {
    for (const SpringCurve& curve :
         {SpringCurve::entry(0.2), SpringCurve::entry(1.0), SpringCurve(0.2, 7, 6)}) {
        const std::vector<double> values = sample(curve);
        for (size_t i = 1; i < values.size(); ++i) {
            ASSERT_GE(values[i], values[i - 1]) << "at sample " << i;
            ASSERT_LE(values[i], 1.0);
        }
    }
}

TEST(DialogSpringCharacter, HalfDampingSwingsPastOnceAndSettles) {
    const std::vector<double> values = sample(SpringCurve::snapBack());
    // Peaks more than 1% past the end are the ones an eye can see.
    int visiblePeaks = 0;
    double highest = 0;
    for (size_t i = 1; i + 1 < values.size(); ++i) {
        if (values[i] >= values[i - 1] && values[i] > values[i + 1] && values[i] > 1.01) {
            ++visiblePeaks;
        }
        highest = std::max(highest, values[i]);
    }
    EXPECT_EQ(visiblePeaks, 1);
    EXPECT_GT(highest, 1.05);
    for (size_t i = values.size() * 9 / 10; i < values.size(); ++i) {
        ASSERT_NEAR(values[i], 1, 0.01) << "at sample " << i;
    }
}

TEST(DialogSpringCharacter, QmlReadsTheSnapBackPointByPoint) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\nimport Corvantis.Shell\n"
        "QtObject { property int duration: DialogSprings.snapBackDuration * 1000;"
        " property real peak: DialogSprings.snapBackAt(0.254);"
        " property real end: DialogSprings.snapBackAt(1) }",
        QUrl(QStringLiteral("file:///spring.qml")));
    std::unique_ptr<QObject> spring(component.create());
    ASSERT_TRUE(spring) << component.errorString().toStdString();
    EXPECT_EQ(spring->property("duration").toInt(), 350);
    // The swing past the end peaks about a quarter of the way in, 16% over.
    EXPECT_NEAR(spring->property("peak").toDouble(), 1.163, 0.01);
    EXPECT_EQ(spring->property("end").toDouble(), 1);
}

}  // namespace
