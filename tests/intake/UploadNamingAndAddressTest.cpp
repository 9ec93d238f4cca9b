// The pure rules behind the upload screen: stored names and the shown address.
#include <gtest/gtest.h>

#include <QSet>

#include "HttpTestClient.h"
#include "UploadFileName.h"
#include "WiFiAddress.h"
#include "WiFiViewController.h"

namespace {

QString storedName(const QString& fileName, const QSet<QString>& taken) {
    return uploadStoredName(fileName, [&](const QString& name) { return taken.contains(name); });
}

TEST(UploadFileNameTest, CountsUpFromTheBaseAndRefusesNamesThatCouldLeaveTheFolder) {
    EXPECT_EQ(storedName("Song.mp3", {}), "Song.mp3");
    EXPECT_EQ(storedName("Song.mp3", {"Song.mp3"}), "Song (1).mp3");
    EXPECT_EQ(storedName("Song.mp3", {"Song.mp3", "Song (1).mp3", "Song (2).mp3"}), "Song (3).mp3");
    // Built from the base each time, never from the previous candidate.
    EXPECT_EQ(storedName("Song (1).mp3", {"Song (1).mp3"}), "Song (1) (1).mp3");
    EXPECT_EQ(storedName("a.mp3.mp3", {"a.mp3.mp3"}), "a (1).mp3");
    EXPECT_EQ(storedName("live.mp3 cut.mp3", {"live.mp3 cut.mp3"}), "live cut (1).mp3");
    // Case-sensitive: only the exact suffix goes.
    EXPECT_EQ(storedName("b.MP3.mp3", {"b.MP3.mp3"}), "b.MP3 (1).mp3");
    EXPECT_EQ(storedName("README", {"README", "README (1)"}), "README (2)");
    EXPECT_EQ(storedName("archive.tar.gz", {"archive.tar.gz"}), "archive.tar (1).gz");
    // A client's name is text, never a format.
    EXPECT_EQ(storedName("%1 %2.mp3", {"%1 %2.mp3"}), "%1 %2 (1).mp3");

    // Names that could leave the folder are unsafe.
    for (const QString& name : {QString("../x.mp3"), QString("a/b"), QString("."), QString(".."),
                                QString(), QString("a") + QChar(0) + "b"}) {
        EXPECT_TRUE(isUnsafeUploadName(name)) << name.toStdString();
    }
    for (const QString& name : {QString("..."), QString(".hidden"), QString("a..b.mp3"),
                                QString("Ünïcode ♫.flac"), QString("back\\slash")}) {
        EXPECT_FALSE(isUnsafeUploadName(name)) << name.toStdString();
    }
}

InterfaceAddress address(const char* name, const char* ip, bool up = true, bool loopback = false,
                         bool wireless = false) {
    return {QString::fromLatin1(name), QString::fromLatin1(ip), up, loopback, wireless};
}

TEST(WiFiAddressTest, PrefersTheWirelessInterfaceAndTheLabelShowsOnlyAnOddPort) {
    EXPECT_EQ(pickWiFiAddress({}), std::nullopt);
    EXPECT_EQ(pickWiFiAddress({address("lo", "127.0.0.1", true, true)}), std::nullopt);
    EXPECT_EQ(pickWiFiAddress(
                  {address("lo", "127.0.0.1", true, true), address("eth0", "10.0.0.2", false)}),
              std::nullopt);
    EXPECT_EQ(pickWiFiAddress({address("lo", "127.0.0.1", true, true), address("eth0", "10.0.0.2"),
                               address("wlan0", "192.168.1.7", true, false, true),
                               address("tun0", "10.8.0.1")}),
              "192.168.1.7");
    // A wireless interface that is down does not count.
    EXPECT_EQ(pickWiFiAddress({address("wlan0", "192.168.1.7", false, false, true),
                               address("eth0", "10.0.0.2"), address("eth1", "10.0.1.2")}),
              "10.0.0.2");
    // Several addresses on the chosen interface: the last one listed.
    EXPECT_EQ(pickWiFiAddress({address("wlp2s0", "192.168.1.7", true, false, true),
                               address("eth0", "10.0.0.2"),
                               address("wlp2s0", "192.168.1.8", true, false, true)}),
              "192.168.1.8");

    // The label shows the port only when it is not the default.
    EXPECT_EQ(addressLabelText(QString("192.168.1.7"), 80), "http://192.168.1.7");
    EXPECT_EQ(addressLabelText(QString("192.168.1.7"), 8081), "http://192.168.1.7:8081");
    EXPECT_EQ(addressLabelText(std::nullopt, 8081), "IP Address not found");
}

TEST(WiFiAddressTest, MachineAddressIsANonLoopbackIPv4) {
    const std::optional<QString> found = getWiFiAddress();
    if (!found) {
        GTEST_SKIP() << "this machine has no network interface up besides loopback";
    }
    const QStringList parts = found->split('.');
    ASSERT_EQ(parts.size(), 4) << found->toStdString();
    for (const QString& part : parts) {
        bool ok = false;
        EXPECT_LE(part.toInt(&ok), 255);
        EXPECT_TRUE(ok);
    }
    EXPECT_NE(parts.first(), "127");
}

TEST(WiFiViewControllerTest, ServesFromLoadUntilBack) {
    WiFiViewController controller(loopbackOptions(), 0);
    int labelChanges = 0;
    int dismissals = 0;
    QObject::connect(&controller, &WiFiViewController::ipAddressTextChanged,
                     [&] { ++labelChanges; });
    QObject::connect(&controller, &WiFiViewController::dismissRequested, [&] { ++dismissals; });
    EXPECT_EQ(controller.webServer(), nullptr);

    controller.viewDidLoad();
    ASSERT_NE(controller.webServer(), nullptr);
    const quint16 port = controller.webServer()->port();
    EXPECT_EQ(labelChanges, 1);
    EXPECT_EQ(controller.ipAddressText(), addressLabelText(getWiFiAddress(), port));
    EXPECT_TRUE(acceptsConnections(port));

    controller.didClickBack();
    EXPECT_EQ(dismissals, 1);
    EXPECT_FALSE(acceptsConnections(port));

    // Opening the screen again serves again. (Comparing server addresses
    // would be flaky: the new one may well be allocated where the old one was.)
    controller.viewDidLoad();
    ASSERT_NE(controller.webServer(), nullptr);
    EXPECT_TRUE(controller.webServer()->isRunning());
    EXPECT_TRUE(acceptsConnections(controller.webServer()->port()));
    EXPECT_EQ(labelChanges, 2);
}

}  // namespace
