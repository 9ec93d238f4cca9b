#include <gtest/gtest.h>

#include <QFontInfo>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QQmlEngine>
#include <QScreen>
#include <QSignalSpy>
#include <QSvgRenderer>

#include <fontconfig/fontconfig.h>

#include "AppDelegate.h"
#include "AppStyle.h"
#include "Bundles.h"
#include "FontBook.h"
#include "GradientFill.h"
#include "ImageCatalog.h"
#include "Localization.h"
#include "Log.h"
#include "NibLoader.h"
#include "ProgressHUD.h"
#include "TestSupport.h"
#include "UserDefaults.h"
#include "ViewPreload.h"
#include "WindowGeometry.h"

TEST(ProgressHUD, TextsTimersAndReplacement) {
    ProgressHUD& hud = ProgressHUD::shared();
    struct Case {
        ProgressHUDType type;
        std::optional<QString> given;
        std::optional<QString> shown;
        std::optional<int> dismissMs;
    };
    const QString wait = Localization::text("message_please_wait");
    const QString unknown = Localization::text("error_unknown");
    const Case cases[] = {
        {ProgressHUDType::loading, std::nullopt, wait, std::nullopt},
        {ProgressHUDType::loading, QString(), wait, std::nullopt},
        {ProgressHUDType::error, std::nullopt, unknown, 2000},
        {ProgressHUDType::error, QString(), unknown, 2000},
        {ProgressHUDType::success, std::nullopt, std::nullopt, 2000},
        {ProgressHUDType::success, QString(), QString(), 2000},
        {ProgressHUDType::error, QString("message_please_wait"), QString("message_please_wait"),
         2000},
    };
    for (const Case& c : cases) {
        hud.show(c.type, nullptr, c.given, true);
        EXPECT_TRUE(hud.isVisible());
        EXPECT_EQ(hud.type(), c.type);
        EXPECT_EQ(hud.text(), c.shown) << "given " << c.given.value_or("<nil>").toStdString();
        EXPECT_EQ(hud.pendingDismissMs(), c.dismissMs);
    }
    EXPECT_NE(wait, "message_please_wait") << "the key has a text";

    // A loading display stays until it is ended, whatever autoDismiss says;
    // a later show takes over the same display and its timer.
    hud.show(ProgressHUDType::error, nullptr, QString("Gone"), true);
    hud.show(ProgressHUDType::loading, nullptr, {}, true);
    EXPECT_EQ(hud.pendingDismissMs(), std::nullopt);

    // Cloud failures show the sentence their type gives a screen.
    hud.showError(AuthError("No user logged in"), nullptr);
    EXPECT_EQ(hud.type(), ProgressHUDType::error);
    EXPECT_EQ(hud.text(), localizedDescription(CloudError(AuthError("No user logged in"))));
    EXPECT_NE(hud.text(), QString("No user logged in"));

    bool completed = false;
    hud.dismiss(0.05, [&] { completed = true; });
    EXPECT_TRUE(waitUntil([&] { return completed && !hud.isVisible(); }, 3000));
}

TEST(Helpers, GradientStopsFollowTheirOrderAndDirection) {
    const QList<QColor> colors{Qt::red, Qt::green, Qt::blue};
    const QBrush across = makeGradientColor(QSizeF(200, 40), colors, true);
    const auto* gradient = static_cast<const QLinearGradient*>(across.gradient());
    ASSERT_NE(gradient, nullptr);
    EXPECT_EQ(gradient->finalStop(), QPointF(200, 0));
    ASSERT_EQ(gradient->stops().size(), 3);
    EXPECT_EQ(gradient->stops()[1], QGradientStop(0.5, QColor(Qt::green)));
    EXPECT_EQ(gradient->stops()[2].second, QColor(Qt::blue));

    const QBrush down = makeGradientColor(QSizeF(20, 300), colors, false);
    EXPECT_EQ(static_cast<const QLinearGradient*>(down.gradient())->finalStop(), QPointF(0, 300));
}

TEST(Helpers, DesignFontsAndImagesResolveAndUnknownNamesSaySo) {
    const auto bold = FontBook::font("AvenirNext-Bold", 20);
    ASSERT_TRUE(bold.has_value());
    EXPECT_EQ(bold->family(), "Lato");
    EXPECT_EQ(bold->weight(), QFont::Bold);
    EXPECT_EQ(bold->pixelSize(), 20);
    EXPECT_EQ(FontBook::font("Avenir-Light", 12)->weight(), QFont::Light);
    EXPECT_FALSE(FontBook::font("Helvetica-Bold", 12).has_value());
    EXPECT_FALSE(FontBook::isKnown("avenirnext-bold")) << "names are exact";
    // The family is really there, not a fallback that fontconfig picked.
    EXPECT_EQ(QFontInfo(*bold).family(), "Lato");

    const QFont icons(FontBook::iconFamily(), 24);
    ASSERT_EQ(QFontInfo(icons).family(), FontBook::iconFamily());
    const QFontMetrics metrics(icons);
    for (const QString& name : FontBook::glyphNames()) {
        const QString glyph = FontBook::glyph(name);
        ASSERT_EQ(glyph.toUcs4().size(), 1) << name.toStdString();
        EXPECT_TRUE(metrics.inFontUcs4(glyph.toUcs4().first())) << name.toStdString();
    }
    EXPECT_TRUE(FontBook::glyph("Play").isEmpty()) << "glyph names are exact";

    for (const QString& name : ImageCatalog::names()) {
        const QUrl url = ImageCatalog::source(name);
        const QString path = ":" + url.path();
        EXPECT_TRUE(QFile::exists(path)) << name.toStdString();
        if (path.endsWith(".svg")) {
            EXPECT_TRUE(QSvgRenderer(path).isValid()) << name.toStdString();
        }
    }
    EXPECT_TRUE(ImageCatalog::source("Tutorial 3").isEmpty());
}

// The files fontconfig offers for the icon family: only plain font files once
// the web copies are left out, and still at least one.
TEST(Helpers, TheIconFontComesFromItsPlainFile) {
    ASSERT_TRUE(FontBook::preferPlainIconFont());
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(
        pattern, FC_FAMILY,
        reinterpret_cast<const FcChar8*>(FontBook::iconFamily().toUtf8().constData()));
    FcObjectSet* fileOnly = FcObjectSetBuild(FC_FILE, nullptr);
    FcFontSet* fonts = FcFontList(nullptr, pattern, fileOnly);
    QStringList files;
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcChar8* file = nullptr;
        if (FcPatternGetString(fonts->fonts[i], FC_FILE, 0, &file) == FcResultMatch) {
            files.append(QString::fromUtf8(reinterpret_cast<const char*>(file)));
        }
    }
    FcFontSetDestroy(fonts);
    FcObjectSetDestroy(fileOnly);
    FcPatternDestroy(pattern);
    ASSERT_FALSE(files.isEmpty());
    for (const QString& file : files) {
        EXPECT_TRUE(file.endsWith(".ttf") || file.endsWith(".otf")) << file.toStdString();
    }
}

TEST(Helpers, ViewsAreFoundByTheirClassName) {
    EXPECT_EQ(loadFromNib("AlertView"), QUrl("qrc:/Corvantis/Shell/AlertView.qml"));
    for (const char* name : {"NoSuchCell", "", "Shell/AlertView", "AlertView.qml"}) {
        EXPECT_TRUE(findNib(name).isEmpty()) << name;
    }
    EXPECT_DEATH(loadFromNib("NoSuchCell"), "NoSuchCell");
}

TEST(Helpers, WindowComesBackWhereItWasAndNeverOffEveryScreen) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    {
        const WindowGeometry fresh;
        EXPECT_EQ(QSize(fresh.width(), fresh.height()), QSize(390, 844)) << "phone-sized at first";
    }
    WindowGeometry().save(screen.x() + 10, screen.y() + 20, 1024, 700);
    const WindowGeometry again;
    EXPECT_EQ(QRect(again.x(), again.y(), again.width(), again.height()),
              QRect(screen.x() + 10, screen.y() + 20, 1024, 700));

    // A screen that is gone: the size stays, the window comes back on show.
    WindowGeometry().save(screen.right() + 5000, 40, 800, 600);
    const WindowGeometry moved;
    EXPECT_EQ(QSize(moved.width(), moved.height()), QSize(800, 600));
    EXPECT_TRUE(screen.intersects(QRect(moved.x(), moved.y(), 800, 600)));

    // Damaged values give the phone-sized window.
    const QList<QVariantList> damaged{
        {1, 2, 3}, {"a", 0, 800, 600}, {0, 0, 100, 100}, {0, 0, 99999, 600}};
    for (const QVariantList& values : damaged) {
        UserDefaults::standard().setArray(values, "WindowGeometry");
        const WindowGeometry reset;
        EXPECT_EQ(QSize(reset.width(), reset.height()), QSize(390, 844)) << values.size();
    }
}

// The views a start loads ahead must be the ones that exist: a renamed file
// would otherwise only make starts slower, unnoticed.
TEST(ViewPreload, TheFirstViewsOfEachStartLoadAndAMissingOneIsLogged) {
    installAppStyle();
    for (const QString& bundle : {QStringLiteral("Main"), QStringLiteral("Tutorial")}) {
        SCOPED_TRACE(bundle.toStdString());
        QQmlEngine engine;
        AppDelegate::addModuleImportPath(engine);
        const QUrl missing(QStringLiteral("qrc:/Corvantis/Shell/NoSuchView.qml"));
        const QList<QUrl> views = firstViewsOf(bundle);
        ASSERT_FALSE(views.isEmpty());
        LogCapture log;
        ViewPreload preload(engine, QList<QUrl>{AppDelegate::windowUrl()} + views + QList{missing});
        ASSERT_TRUE(waitUntil([&] { return preload.pendingCount() == 0; }));
        EXPECT_EQ(preload.failedCount(), 1);
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().constFirst().startsWith(
            QStringLiteral("A view of the first screen cannot be loaded: ") + missing.toString()));
    }
}
