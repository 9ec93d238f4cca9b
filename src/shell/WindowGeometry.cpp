#include "WindowGeometry.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QScreen>

#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcWindow, "corvantis.window")

namespace {
const QString kKey = QStringLiteral("WindowGeometry");
}

void WindowGeometry::centreOnPrimaryScreen() {
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect available = screen->availableGeometry();
        m_x = available.x() + std::max(0, (available.width() - m_width) / 2);
        m_y = available.y() + std::max(0, (available.height() - m_height) / 2);
    }
}

WindowGeometry::WindowGeometry(QObject* parent) : QObject(parent) {
    centreOnPrimaryScreen();
    const auto stored = UserDefaults::standard().arrayForKey(kKey);
    if (!stored) {
        return;
    }
    if (stored->size() != 4) {
        qCWarning(lcWindow) << "The stored window size is damaged; a phone-sized window it is";
        return;
    }
    bool ok[4] = {};
    const int values[4] = {stored->at(0).toInt(&ok[0]), stored->at(1).toInt(&ok[1]),
                           stored->at(2).toInt(&ok[2]), stored->at(3).toInt(&ok[3])};
    if (!(ok[0] && ok[1] && ok[2] && ok[3]) || values[2] < 320 || values[3] < 480 ||
        values[2] > 16384 || values[3] > 16384) {
        qCWarning(lcWindow) << "The stored window size is damaged; a phone-sized window it is";
        return;
    }
    m_width = values[2];
    m_height = values[3];
    // A window stored on a screen that is gone (a monitor unplugged) would
    // open where nobody can see it: it keeps its size and comes back here.
    const QRect saved(values[0], values[1], m_width, m_height);
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen->availableGeometry().intersected(saved).width() >= 64) {
            m_x = values[0];
            m_y = values[1];
            return;
        }
    }
    centreOnPrimaryScreen();
}

WindowGeometry* WindowGeometry::create(QQmlEngine* engine, QJSEngine*) {
    return new WindowGeometry(engine);
}

void WindowGeometry::save(int x, int y, int width, int height) {
    UserDefaults::standard().setArray({x, y, width, height}, kKey);
}
