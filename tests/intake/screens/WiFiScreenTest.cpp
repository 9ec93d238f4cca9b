#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>

#include "Navigation.h"
#include "QrCodeItem.h"
#include "TestSupport.h"
#include "WiFiScreenController.h"
#include "WiFiUploadServer.h"
#include "WiFiViewController.h"

namespace {

// The desktop's screen-saver service, as far as a hold goes.
class FakeScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public slots:
    uint Inhibit(const QString&, const QString& reason) {
        held.insert(next, reason);
        return next++;
    }
    void UnInhibit(uint cookie) {
        released.append(cookie);
        held.remove(cookie);
    }

public:
    QMap<uint, QString> held;
    QList<uint> released;
    uint next = 7;
};

QByteArray getBody(const QUrl& url) {
    QNetworkAccessManager network;
    QNetworkReply* reply = network.get(QNetworkRequest(url));
    waitUntil([&] { return reply->isFinished(); }, 5000);
    const QByteArray body = reply->readAll();
    delete reply;
    return body;
}

}  // namespace

TEST(WiFiScreen, ServesWhileOpenKeepsTheMachineAwakeAndStopsOnBack) {
    PrivateBus bus;
    if (bus.address.isEmpty()) {
        GTEST_SKIP() << "no dbus-daemon to stand in for the session bus";
    }
    WiFiScreenController::setPreferredPort(0);
    auto* root = new ViewController;
    Navigation::shared().makeKeyAndVisible(root);

    // Where no screen saver runs, the screen works and holds nothing.
    auto* first = new WiFiScreenController;
    root->presentViewController(first, false);
    first->loadViewIfNeeded();
    WiFiUploadServer* server = first->server().webServer();
    ASSERT_NE(server, nullptr);
    ASSERT_TRUE(server->isRunning());
    const QString label = first->ipAddressText();
    EXPECT_TRUE(label == "IP Address not found" || label.startsWith("http://"))
        << label.toStdString();
    EXPECT_EQ(first->pageAddress().isEmpty(), !label.startsWith("http://"));
    EXPECT_EQ(getBody(QUrl(QString("http://127.0.0.1:%1/files").arg(server->port()))),
              R"({"files":[]})");
    settle();
    EXPECT_FALSE(first->idleInhibitor().isInhibiting());
    first->didClickBack();
    EXPECT_EQ(root->presentedViewController(), nullptr);

    // With one, the hold lasts exactly as long as the screen.
    FakeScreenSaver saver;
    QDBusConnection service = QDBusConnection::connectToBus(bus.address, "screensaver");
    ASSERT_TRUE(service.registerObject("/org/freedesktop/ScreenSaver", &saver,
                                       QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(service.registerService("org.freedesktop.ScreenSaver"));
    auto* second = new WiFiScreenController;
    root->presentViewController(second, false);
    second->loadViewIfNeeded();
    ASSERT_TRUE(waitUntil([&] { return second->idleInhibitor().isInhibiting(); }));
    ASSERT_EQ(saver.held.size(), 1);
    EXPECT_EQ(saver.held.first(), "Receiving music over Wi-Fi");
    WiFiUploadServer* secondServer = second->server().webServer();
    ASSERT_NE(secondServer, nullptr);
    EXPECT_TRUE(secondServer->isRunning());
    second->didClickBack();
    EXPECT_FALSE(secondServer->isRunning());
    ASSERT_TRUE(waitUntil([&] { return saver.released == QList<uint>{7}; }));
    EXPECT_TRUE(saver.held.isEmpty());
    QDBusConnection::disconnectFromBus("screensaver");
}

TEST(WiFiScreen, QrCodeCarriesItsFinderPatterns) {
    QrCodeItem code;
    code.setText("http://192.168.178.20:8080");
    const int side = code.moduleCount();
    ASSERT_GE(side, 21);
    EXPECT_EQ((side - 17) % 4, 0) << "a QR code is 17 + 4n modules wide";
    // The three corner squares: dark rim, light ring, dark centre.
    for (const auto& [x, y] : {std::pair{0, 0}, {side - 7, 0}, {0, side - 7}}) {
        EXPECT_TRUE(code.isDark(x, y));
        EXPECT_FALSE(code.isDark(x + 1, y + 1));
        EXPECT_TRUE(code.isDark(x + 3, y + 3));
    }
    code.setText("");
    EXPECT_EQ(code.moduleCount(), 0);
}

#include "WiFiScreenTest.moc"
