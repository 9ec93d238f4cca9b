#include <gtest/gtest.h>

#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "Bundles.h"
#include "Localization.h"
#include "TestSupport.h"
#include "ViewAttributes.h"
#include "ViewController.h"

namespace {

// Real QML items made from snippets, the way a screen's file declares them.
class Snippets {
public:
    Snippets() {
        static const bool registered = [] {
            registerBundles();
            return true;
        }();
        Q_UNUSED(registered);
    }

    // The item declared by `body`, with QtQuick, the controls and the shell
    // imported; failing the test when it does not compile.
    std::unique_ptr<QObject> make(const QString& body, const QVariantMap& properties = {}) {
        QQmlComponent component(&m_engine);
        component.setData(
            ("import QtQuick\nimport QtQuick.Controls\nimport Corvantis.Shell\n" + body).toUtf8(),
            QUrl(QStringLiteral("file:///snippet.qml")));
        std::unique_ptr<QObject> made(component.createWithInitialProperties(properties));
        EXPECT_NE(made, nullptr) << component.errorString().toStdString();
        return made;
    }

    static ViewAttributes* bundle(QObject* item) {
        return qobject_cast<ViewAttributes*>(qmlAttachedPropertiesObject<ViewAttributes>(item));
    }

private:
    QQmlEngine m_engine;
};

QQuickItem* child(QObject* root, const char* name) {
    return root->findChild<QQuickItem*>(QString::fromLatin1(name));
}

}  // namespace

TEST(ViewAttributes, LocalizedTextsResolveWhenWrittenAndReadWhatStands) {
    Snippets qml;
    const QString ok = Localization::text("ok");
    ASSERT_NE(ok, "ok") << "the key has a text";
    for (const char* type : {"Label", "Text", "TextField", "Button"}) {
        SCOPED_TRACE(type);
        auto item =
            qml.make(QString("%1 { text: \"before\"; Bundle.localizedText: \"ok\" }").arg(type));
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->property("text").toString(), ok) << "declared in the file";
        ViewAttributes* bundle = Snippets::bundle(item.get());
        bundle->setLocalizedText(QVariant::fromValue(nullptr));
        EXPECT_EQ(item->property("text").toString(), QString());
        bundle->setLocalizedText(QStringLiteral("cancel"));
        EXPECT_EQ(item->property("text").toString(), Localization::text("cancel"));
        // The read is the text standing there, not the key written.
        item->setProperty("text", "typed");
        EXPECT_EQ(bundle->localizedText().toString(), "typed");
    }

    auto field = qml.make("TextField { Bundle.localizedPlaceholder: \"cancel\" }");
    EXPECT_EQ(field->property("placeholderText").toString(), Localization::text("cancel"));
    Snippets::bundle(field.get())->setLocalizedPlaceholder(QVariant());
    EXPECT_EQ(Snippets::bundle(field.get())->localizedPlaceholder().toString(), QString());

    // An item without a text takes nothing and lives on.
    auto plain = qml.make("Rectangle { Bundle.localizedText: \"ok\" }");
    EXPECT_FALSE(Snippets::bundle(plain.get())->localizedText().isValid());
}

TEST(ViewAttributes, NavigationTitleGoesToTheTopItemOnlyWhenThereIsOne) {
    Snippets qml;
    auto bar = qml.make("Item { property ViewController topItem: null }");
    ASSERT_NE(bar, nullptr);
    ViewAttributes* bundle = Snippets::bundle(bar.get());
    bundle->setLocalizedTitle(QStringLiteral("ok"));
    EXPECT_FALSE(bundle->localizedTitle().isValid()) << "no top item: nothing to read";

    ViewController screen;
    screen.setTitle(QStringLiteral("Tracks"));
    bar->setProperty("topItem", QVariant::fromValue(&screen));
    EXPECT_EQ(bundle->localizedTitle().toString(), "Tracks");
    bundle->setLocalizedTitle(QStringLiteral("ok"));
    EXPECT_EQ(screen.title(), Localization::text("ok"));
    bundle->setLocalizedTitle(QVariant());
    EXPECT_EQ(screen.title(), QString());

    // Once the screen is gone, a write finds no item and changes nothing.
    screen.setTitle(QStringLiteral("Kept"));
    bar->setProperty("topItem", QVariant::fromValue<ViewController*>(nullptr));
    bundle->setLocalizedTitle(QStringLiteral("cancel"));
    EXPECT_EQ(screen.title(), "Kept");

    // Not a bar at all: nothing happens.
    auto label = qml.make("Label { text: \"x\"; Bundle.localizedTitle: \"ok\" }");
    EXPECT_EQ(label->property("text").toString(), "x");
}

TEST(ViewAttributes, PlaceholderColourAndPaddingOfATextField) {
    Snippets qml;
    auto field = qml.make("TextField { }");
    ASSERT_NE(field, nullptr);
    ViewAttributes* bundle = Snippets::bundle(field.get());
    bundle->setPlaceholderColor(QColor(Qt::red));
    EXPECT_FALSE(bundle->placeholderColor().isValid()) << "no placeholder: no colour to read";

    field->setProperty("placeholderText", "Search");
    bundle->setPlaceholderColor(QVariant());
    EXPECT_EQ(bundle->placeholderColor().value<QColor>(), QColor(Qt::white)) << "nil is white";
    EXPECT_EQ(field->property("placeholderText").toString(), "Search") << "the text stays";
    bundle->setPlaceholderColor(QStringLiteral("#336699"));
    EXPECT_EQ(field->property("placeholderTextColor").value<QColor>(), QColor("#336699"));

    // The text moves by the padding; the read is the transform's m11.
    const qreal before = field->property("leftPadding").toReal();
    bundle->setHorizontalPadding(10);
    EXPECT_EQ(bundle->horizontalPadding(), 1.0);
    EXPECT_EQ(field->property("leftPadding").toReal(), before + 10);
    bundle->setHorizontalPadding(4);
    EXPECT_EQ(field->property("leftPadding").toReal(), before + 4) << "set, not added up";

    // Anything else moves its children.
    auto box = qml.make(
        "Item { width: 100; height: 20; Rectangle { objectName: \"inner\"; "
        "width: 10; height: 10 } Bundle.horizontalPadding: 10 }");
    auto* root = qobject_cast<QQuickItem*>(box.get());
    EXPECT_EQ(child(box.get(), "inner")->mapToItem(root, QPointF(0, 0)), QPointF(10, 0));
    EXPECT_EQ(Snippets::bundle(box.get())->horizontalPadding(), 1.0);

    auto clearing = qml.make(
        "Item { property alias field: field; TextField { id: field; text: \"typed\" }\n"
        "       function clear(sender) { field.Bundle.clearWithSender(sender) } }");
    QMetaObject::invokeMethod(clearing.get(), "clear", Q_ARG(QVariant, QVariant(7)));
    EXPECT_EQ(clearing->property("field").value<QObject*>()->property("text").toString(),
              QString());
}

TEST(ViewAttributes, CornersAndBordersGoToTheFrameThatDrawsThem) {
    Snippets qml;
    struct Case {
        const char* body;
        const char* frame;  // objectName of the item that draws, "" for the item itself
        const char* width;
        const char* color;
    };
    const Case cases[] = {
        {"Rectangle { }", "", "border.width", "border.color"},
        {"Button { background: Rectangle { objectName: \"bg\" } }", "bg", "border.width",
         "border.color"},
        {"GradientFill { }", "", "borderWidth", "borderColor"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        auto item = qml.make(c.body);
        ASSERT_NE(item, nullptr);
        QObject* frame = *c.frame ? child(item.get(), c.frame) : item.get();
        ASSERT_NE(frame, nullptr);
        ViewAttributes* bundle = Snippets::bundle(item.get());
        EXPECT_EQ(bundle->borderColor(), QColor(255, 255, 255, 0)) << "none set yet";
        bundle->setCornerRadius(8);
        bundle->setBorderWidth(2);
        bundle->setBorderColor(QColor(Qt::blue));
        EXPECT_EQ(frame->property("radius").toReal(), 8);
        EXPECT_EQ(QQmlProperty(frame, c.width).read().toReal(), 2);
        EXPECT_EQ(QQmlProperty(frame, c.color).read().value<QColor>(), QColor(Qt::blue));
        EXPECT_EQ(bundle->cornerRadius(), 8);
        EXPECT_EQ(bundle->borderWidth(), 2);
        EXPECT_EQ(bundle->borderColor(), QColor(Qt::blue));
    }
}

TEST(ViewAttributes, SliderThumbsFollowThePressAndTracksNeedASlider) {
    Snippets qml;
    QTemporaryDir pictures;
    const auto picture = [&](const char* name, QColor color) {
        QImage image(12, 12, QImage::Format_ARGB32);
        image.fill(color);
        const QString path = pictures.filePath(QString::fromLatin1(name));
        image.save(path);
        return QUrl::fromLocalFile(path);
    };
    const QUrl rest = picture("rest.png", Qt::white);
    const QUrl held = picture("held.png", Qt::yellow);

    auto slider = qml.make("Slider { width: 300; height: 40; value: 0.5 }");
    // The window goes first, taking what it drew of the slider along.
    QQuickWindow window;
    window.resize(300, 80);
    auto* item = qobject_cast<QQuickItem*>(slider.get());
    item->setParentItem(window.contentItem());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    ViewAttributes* bundle = Snippets::bundle(item);
    auto* handle = item->property("handle").value<QQuickItem*>();
    bundle->setThumbImage(rest);
    bundle->setHighlightedThumbImage(held);
    const auto shown = [&]() -> QUrl {
        for (QQuickItem* c : item->childItems()) {
            if (c->inherits("QQuickImage")) {
                return c->property("source").toUrl();
            }
        }
        return {};
    };
    EXPECT_EQ(shown(), rest);
    EXPECT_EQ(handle->opacity(), 0.0) << "the picture stands in for the style's handle";
    const QPoint at =
        handle->mapToScene(QPointF(handle->width() / 2, handle->height() / 2)).toPoint();
    QTest::mousePress(&window, Qt::LeftButton, Qt::NoModifier, at);
    EXPECT_TRUE(waitUntil([&] { return shown() == held; }));
    QTest::mouseRelease(&window, Qt::LeftButton, Qt::NoModifier, at);
    EXPECT_TRUE(waitUntil([&] { return shown() == rest; }));
    EXPECT_EQ(bundle->thumbImage().toUrl(), rest);
    bundle->setThumbImage(QVariant());
    bundle->setHighlightedThumbImage(QVariant());
    EXPECT_TRUE(shown().isEmpty());
    EXPECT_EQ(handle->opacity(), 1.0);
    EXPECT_FALSE(bundle->thumbImage().isValid());
    // One more frame lets the window let go of the picture's texture.
    QSignalSpy drawn(&window, &QQuickWindow::frameSwapped);
    window.update();
    drawn.wait(1000);

    // A volume control colours the first slider among its children.
    auto volume = qml.make(
        "Item { Rectangle { } Slider { objectName: \"first\" } Slider { objectName: \"second\" } "
        "}");
    ViewAttributes* tracks = Snippets::bundle(volume.get());
    tracks->setMinTrack(QStringLiteral("red"));
    tracks->setMaxTrack(QColor(Qt::green));
    EXPECT_EQ(tracks->minTrack().value<QColor>(), QColor(Qt::red));
    EXPECT_EQ(tracks->maxTrack().value<QColor>(), QColor(Qt::green));
    EXPECT_EQ(QQmlProperty(child(volume.get(), "first"), "palette.dark").read().value<QColor>(),
              QColor(Qt::red));
    EXPECT_NE(QQmlProperty(child(volume.get(), "second"), "palette.dark").read().value<QColor>(),
              QColor(Qt::red));
    auto own =
        qml.make("Item { Slider { objectName: \"s\"; property color minimumTrackTintColor } }");
    Snippets::bundle(own.get())->setMinTrack(QStringLiteral("red"));
    EXPECT_EQ(child(own.get(), "s")->property("minimumTrackTintColor").value<QColor>(),
              QColor(Qt::red));

    // Its slider not built yet: the write goes nowhere, also not to a slider
    // that comes later.
    auto empty = qml.make("Item { Rectangle { } }");
    ViewAttributes* none = Snippets::bundle(empty.get());
    none->setMinTrack(QStringLiteral("red"));
    EXPECT_FALSE(none->minTrack().isValid());
    auto late = qml.make("Slider { }");
    qobject_cast<QQuickItem*>(late.get())->setParentItem(qobject_cast<QQuickItem*>(empty.get()));
    EXPECT_NE(none->minTrack().value<QColor>(), QColor(Qt::red));
    EXPECT_TRUE(none->minTrack().isValid());
}
