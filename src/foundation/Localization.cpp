#include "Localization.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QTranslator>

namespace Localization {

void install() {
    static bool installed = false;
    if (installed) {
        return;
    }
    installed = true;
    QDirIterator files(QStringLiteral(":/i18n"), {QStringLiteral("*.qm")}, QDir::Files);
    while (files.hasNext()) {
        auto* translator = new QTranslator(QCoreApplication::instance());
        if (translator->load(files.next())) {
            QCoreApplication::installTranslator(translator);
        } else {
            delete translator;
        }
    }
}

QString text(const char* key) {
    install();
    return qtTrId(key);
}

}  // namespace Localization
