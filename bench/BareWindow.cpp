// The peer of the launch bench: the least a Qt Quick window can be, one
// rectangle from QML in a QQuickWindow, reporting its first frame the way the
// application does ("first frame <ns>" on the monotonic clock).
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QQmlEngine engine;
    QQmlComponent component(&engine);
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
    bool reported = false;
    QObject::connect(&view, &QQuickWindow::frameSwapped, &view, [&] {
        if (reported) {
            return;
        }
        reported = true;
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::printf("first frame %lld\n",
                    static_cast<long long>(std::chrono::nanoseconds(now).count()));
        std::fflush(stdout);
    });
    view.show();
    return QGuiApplication::exec();
}
