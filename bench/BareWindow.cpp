// The peers of the launch bench, reporting their first frame the way the
// application does ("first frame <ns>" on the monotonic clock):
//   - by default the least a Qt Quick window can be, one rectangle from QML
//     in a QQuickWindow;
//   - with `--controls`, the least a window of the controls toolkit can be:
//     an ApplicationWindow showing one label, which loads the toolkit and its
//     fonts as any application built on it does.
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

void reportFirstFrame(QQuickWindow& window) {
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [] {
        static bool reported = false;
        if (reported) {
            return;
        }
        reported = true;
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::printf("first frame %lld\n",
                    static_cast<long long>(std::chrono::nanoseconds(now).count()));
        std::fflush(stdout);
    });
}

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
    if (argc > 1 && std::strcmp(argv[1], "--controls") == 0) {
        component.setData(
            "import QtQuick\nimport QtQuick.Controls\n"
            "ApplicationWindow { width: 390; height: 844; color: \"black\"\n"
            "  Label { anchors.centerIn: parent; text: \"Corvantis\"; color: "
            "\"white\" } }",
            QUrl());
        std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(component.create()));
        if (!window) {
            std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
            return 1;
        }
        reportFirstFrame(*window);
        window->show();
        return QGuiApplication::exec();
    }
    component.setData("import QtQuick\nRectangle { color: \"black\" }", QUrl());
    QQuickWindow view;
    view.resize(390, 844);
    auto* rectangle = qobject_cast<QQuickItem*>(component.create());
    if (rectangle == nullptr) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return 1;
    }
    rectangle->setParentItem(view.contentItem());
    rectangle->setSize(view.size());
    reportFirstFrame(view);
    view.show();
    return QGuiApplication::exec();
}
