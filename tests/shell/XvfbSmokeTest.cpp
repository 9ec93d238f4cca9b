#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>
#include <optional>

#include "ChildProcess.h"
#include "TestSupport.h"

// The real binary on a virtual X server, driven by real pointer events from
// outside, as a person would drive it: the first launch's tutorial is clicked
// through to the main interface. Screenshots land in <build>/screenshots.

namespace {

struct Geometry {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class XvfbSmoke : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* tool : {"Xvfb", "xdotool", "ffmpeg"}) {
            if (QStandardPaths::findExecutable(tool).isEmpty()) {
                GTEST_SKIP() << tool << " is not installed (scripts/setup.sh installs it)";
            }
        }
        // The server picks a free display itself and writes its number. It
        // must not reset when its last client leaves: the probes that look
        // for the window come and go while the application is still
        // connecting, and a connection made during a reset is refused.
        m_server.emplace("Xvfb",
                         QStringList{"-displayfd", "1", "-noreset", "-screen", "0", "1280x1024x24",
                                     "-nolisten", "tcp"},
                         QProcessEnvironment::systemEnvironment());
        QString number;
        ASSERT_TRUE(waitUntil(
            [&] {
                number += QString::fromLatin1(m_server->process().readAllStandardOutput());
                return number.contains('\n') || !m_server->isRunning();
            },
            20000))
            << "Xvfb did not start: " << m_server->err().toStdString();
        ASSERT_TRUE(m_server->isRunning()) << m_server->err().toStdString();
        m_display = ":" + number.trimmed();

        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert("DISPLAY", m_display);
        m_environment.remove("WAYLAND_DISPLAY");
        m_environment.remove("XAUTHORITY");
        m_environment.remove("DBUS_SESSION_BUS_ADDRESS");
        m_environment.insert("QT_QPA_PLATFORM", "xcb");
        m_environment.insert("SDL_AUDIODRIVER", "dummy");
        m_environment.insert("CORVANTIS_HOME", testHome());
    }

    QString tool(const QStringList& arguments) {
        const ProcessRun run =
            runProcess(arguments.first(), arguments.mid(1), 20000, m_environment);
        return run.exitCode == 0 ? run.out : QString();
    }

    std::optional<Geometry> geometry(const QString& window) {
        const QString shell = tool({"xdotool", "getwindowgeometry", "--shell", window});
        Geometry g;
        const struct {
            const char* key;
            int* value;
        } fields[] = {{"X", &g.x}, {"Y", &g.y}, {"WIDTH", &g.width}, {"HEIGHT", &g.height}};
        for (const auto& field : fields) {
            const auto match = QRegularExpression(QStringLiteral("^%1=(-?\\d+)$").arg(field.key),
                                                  QRegularExpression::MultilineOption)
                                   .match(shell);
            if (!match.hasMatch()) {
                return std::nullopt;
            }
            *field.value = match.captured(1).toInt();
        }
        return g;
    }

    // What the window shows now, read back from the X server.
    QImage grab(const Geometry& g) {
        const QString path = QDir(testHome()).filePath("grab.png");
        QFile::remove(path);
        tool({"ffmpeg", "-loglevel", "error", "-y", "-f", "x11grab", "-draw_mouse", "0",
              "-video_size", QStringLiteral("%1x%2").arg(g.width).arg(g.height), "-i",
              QStringLiteral("%1+%2,%3").arg(m_display).arg(g.x).arg(g.y), "-frames:v", "1", path});
        return QImage(path).convertToFormat(QImage::Format_RGB32);
    }

    static void keep(const QImage& image, const QString& name) {
        QDir().mkpath(CORVANTIS_SCREENSHOT_DIR);
        image.save(QDir(CORVANTIS_SCREENSHOT_DIR).filePath(name + ".png"));
    }

    // The continue button is the lowest band of rows that are mostly its
    // bright, saturated gradient (its label and the pointer cover only a
    // little of each row); its centre, or nothing.
    static std::optional<QPoint> continueButton(const QImage& image) {
        const auto inButton = [&](int y) {
            int coloured = 0;
            for (int x = 0; x < image.width(); ++x) {
                const QColor c = image.pixelColor(x, y);
                coloured += c.hsvSaturationF() > 0.4 && c.valueF() > 0.5 ? 1 : 0;
            }
            return coloured > image.width() / 2;
        };
        int bottom = -1;
        for (int y = image.height() - 1; y >= 0; --y) {
            if (inButton(y) && bottom < 0) {
                bottom = y;
            } else if (!inButton(y) && bottom >= 0) {
                return bottom - y >= 20 ? std::optional(QPoint(image.width() / 2, (y + bottom) / 2))
                                        : std::nullopt;
            }
        }
        return std::nullopt;
    }

    void click(const QString& window, QPoint at) {
        tool({"xdotool", "mousemove", "--window", window, QString::number(at.x()),
              QString::number(at.y()), "click", "1"});
    }

    std::optional<bool> didShowTutorial() {
        QFile file(QDir(testHome()).filePath("Preferences/settings.json"));
        if (!file.open(QIODevice::ReadOnly)) {
            return std::nullopt;
        }
        const QJsonValue value = QJsonDocument::fromJson(file.readAll())["DidShowTutorial"];
        return value.isUndefined() ? std::nullopt : std::optional(value["bool"].toBool());
    }

    std::optional<ChildProcess> m_server;
    QString m_display;
    QProcessEnvironment m_environment;
};

bool sameAbove(const QImage& a, const QImage& b, int bottom) {
    return a.copy(0, 0, a.width(), bottom) == b.copy(0, 0, b.width(), bottom);
}

}  // namespace

TEST_F(XvfbSmoke, AFirstLaunchShowsTheTutorialAndTwoClicksReachTheMainInterface) {
    ChildProcess app(CORVANTIS_APP, {}, m_environment);
    QString window;
    ASSERT_TRUE(waitUntil(
        [&] {
            window = tool({"xdotool", "search", "--onlyvisible", "--name", "Corvantis"})
                         .split('\n', Qt::SkipEmptyParts)
                         .value(0);
            return !window.isEmpty() || !app.isRunning();
        },
        60000))
        << "no window appeared: " << app.err().toStdString();
    ASSERT_TRUE(app.isRunning()) << app.err().toStdString();
    const std::optional<Geometry> g = geometry(window);
    ASSERT_TRUE(g.has_value());
    EXPECT_EQ(g->width, 390);
    EXPECT_EQ(g->height, 844);

    // The first page is on show once its button is drawn.
    QImage tutorial;
    std::optional<QPoint> button;
    ASSERT_TRUE(waitUntil(
        [&] {
            tutorial = grab(*g);
            button = continueButton(tutorial);
            return button.has_value();
        },
        30000))
        << "the tutorial's continue button never showed; " << app.err().toStdString();
    keep(tutorial, "xvfb-tutorial");
    EXPECT_FALSE(didShowTutorial().value_or(false));

    // The first click turns to the second page and leaves the tutorial unfinished.
    click(window, *button);
    QImage second;
    ASSERT_TRUE(waitUntil(
        [&] {
            second = grab(*g);
            return !second.isNull() && !sameAbove(tutorial, second, button->y() - 40);
        },
        20000))
        << "the first click did not turn the page";
    keep(second, "xvfb-tutorial-2");
    EXPECT_FALSE(didShowTutorial().value_or(false));

    // The second click ends it: the setting is written and the main interface
    // fades in where the tutorial was.
    const std::optional<QPoint> again = continueButton(second);
    ASSERT_TRUE(again.has_value());
    click(window, *again);
    EXPECT_TRUE(waitUntil([&] { return didShowTutorial().value_or(false); }, 20000))
        << app.err().toStdString();
    // Done once the picture is still and is no longer the tutorial's.
    QImage main;
    EXPECT_TRUE(waitUntil(
        [&] {
            const QImage previous = main;
            main = grab(*g);
            return !main.isNull() && main == previous && !sameAbove(second, main, again->y() - 40);
        },
        20000))
        << "the tutorial stayed on show";
    keep(main, "xvfb-main");
    EXPECT_TRUE(app.isRunning()) << app.err().toStdString();
}
