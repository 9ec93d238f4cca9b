#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QQuickItem>
#include <QTcpServer>
#include <QTcpSocket>

#include "Localization.h"
#include "Navigation.h"
#include "QuickTestHarness.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "UserDefaults.h"

namespace {

// The page's QML loads the web engine, as in the application, which shares
// its graphics contexts from before the application object exists; the test
// main makes that object, so this runs before main. The engine's sandbox
// cannot start as root, which test machines often are.
void prepareWebEngine() {
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS")) {
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox");
    }
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
}
Q_CONSTRUCTOR_FUNCTION(prepareWebEngine)

}  // namespace

// Read by the checkers at start, before the environment's options, which
// add to these. The web engine frees some of its objects with another size
// than it made them with, and keeps some for good, which is its own business;
// so does the font configuration it loads.
extern "C" const char* __ubsan_default_options() {
    return "suppressions=" CORVANTIS_UBSAN_SUPPRESSIONS;
}
extern "C" const char* __asan_default_options() {
    return "new_delete_type_mismatch=0";
}
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libQt6WebEngineCore\nleak:libfontconfig\n";
}

namespace {

const char kTitle[] = "Corvantis privacy test page";

// Answers GET /privacy/ with a small page and anything else with 404, and
// remembers the paths it was asked for.
class PageServer : public QObject {
public:
    PageServer() {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
                connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost));
    }

    QString address(const char* path) const {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path);
    }
    const QStringList& requested() const { return m_requested; }

private:
    void answer(QTcpSocket* socket) {
        QByteArray& head = m_heads[socket];
        head += socket->readAll();
        if (!head.contains("\r\n\r\n")) {
            return;
        }
        const QList<QByteArray> requestLine = head.left(head.indexOf("\r\n")).split(' ');
        m_heads.remove(socket);
        const QByteArray path = requestLine.value(1);
        m_requested << QString::fromUtf8(path);
        QByteArray body;
        QByteArray status = "404 Not Found";
        if (path == "/privacy/") {
            status = "200 OK";
            body = QByteArray("<!doctype html><html><head><title>") + kTitle +
                   "</title></head><body><h1>Privacy</h1><p>Nothing leaves the device.</p>"
                   "</body></html>";
        }
        socket->write("HTTP/1.1 " + status +
                      "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
                      QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_heads;
    QStringList m_requested;
};

void openTextPage() {
    Navigation::shared().rootViewController()->presentViewController(
        Storyboard::storyboardWithName(QStringLiteral("Text")).instantiateInitialViewController(),
        true);
}

}  // namespace

TEST(WebPage, ShowsTheStoredPageAndDoneTakesItAway) {
    PageServer server;
    QuickTestHarness ui;
    ui.launch();
    UserDefaults::standard().setString(server.address("/privacy/"),
                                       QStringLiteral("BUTTON_CLICKED"));
    openTextPage();

    // The page's own title reaches the bar once the engine has loaded it.
    ASSERT_NE(ui.waitFor(QString::fromLatin1(kTitle), 60000), nullptr);
    EXPECT_EQ(server.requested().value(0), "/privacy/");
    ui.screenshot("web-page");

    ui.tap(Localization::text("done"));
    EXPECT_TRUE(waitUntil([] {
        return Navigation::shared().rootViewController()->presentedViewController() == nullptr;
    }));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(QString::fromLatin1(kTitle)); }));
}

TEST(WebPage, NothingStoredShowsAnEmptyPage) {
    UserDefaults::standard().removeObjectForKey(QStringLiteral("BUTTON_CLICKED"));
    PageServer server;
    QuickTestHarness ui;
    ui.launch();
    openTextPage();
    ASSERT_NE(ui.waitFor(Localization::text("done")), nullptr);
    QQuickItem* web = ui.waitFor(QStringLiteral("page"));
    ASSERT_NE(web, nullptr);
    ui.settle(500);
    EXPECT_TRUE(web->property("url").toUrl().isEmpty());
    EXPECT_FALSE(web->property("loading").toBool());
    EXPECT_TRUE(server.requested().isEmpty());
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([] {
        return Navigation::shared().rootViewController()->presentedViewController() == nullptr;
    }));
}
