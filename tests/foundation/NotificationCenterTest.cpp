#include <gtest/gtest.h>

#include <QObject>
#include <QStringList>
#include <memory>

#include "NotificationCenter.h"

TEST(NotificationCenter, DeliversSynchronouslyToObserversOfThatNameInOrder) {
    NotificationCenter center;
    QStringList calls;
    center.addObserver("A", nullptr, [&](const Notification& n) {
        calls << "first:" + n.userInfo.value("k").toString();
    });
    center.addObserver("B", nullptr, [&](const Notification&) { calls << "other"; });
    center.addObserver("A", nullptr, [&](const Notification& n) { calls << "second:" + n.name; });
    center.post("A", nullptr, {{"k", "v"}});
    EXPECT_EQ(calls, (QStringList{"first:v", "second:A"}));
}

TEST(NotificationCenter, RemovedAndDestroyedObserversAreNeverCalled) {
    NotificationCenter center;
    int byToken = 0;
    int byObject = 0;
    int byDestroyed = 0;
    const auto token = center.addObserver("N", nullptr, [&](const Notification&) { ++byToken; });
    QObject receiver;
    center.addObserver("N", &receiver, [&](const Notification&) { ++byObject; });
    center.addObserver("M", &receiver, [&](const Notification&) { ++byObject; });
    auto shortLived = std::make_unique<QObject>();
    center.addObserver("N", shortLived.get(), [&](const Notification&) { ++byDestroyed; });

    center.post("N");
    EXPECT_EQ(byToken, 1);
    EXPECT_EQ(byObject, 1);
    EXPECT_EQ(byDestroyed, 1);

    center.removeObserver(token);
    center.removeObserver(&receiver);
    shortLived.reset();
    center.post("N");
    center.post("M");
    EXPECT_EQ(byToken, 1);
    EXPECT_EQ(byObject, 1);
    EXPECT_EQ(byDestroyed, 1);
}

TEST(NotificationCenter, HandlersMayChangeObserversWhileAPostIsDelivered) {
    NotificationCenter center;
    int later = 0;
    int added = 0;
    NotificationCenter::Token laterToken = 0;
    center.addObserver("N", nullptr, [&](const Notification&) {
        center.removeObserver(laterToken);
        center.addObserver("N", nullptr, [&](const Notification&) { ++added; });
    });
    laterToken = center.addObserver("N", nullptr, [&](const Notification&) { ++later; });
    center.post("N");
    EXPECT_EQ(later, 0);  // removed by the first handler before its turn
    EXPECT_EQ(added, 0);  // added during the post: hears only later posts
    center.post("N");
    EXPECT_EQ(added, 1);
}
