#include "Localization.h"

#include <QCoreApplication>
#include <QLocale>
#include <QLoggingCategory>
#include <QTranslator>

Q_LOGGING_CATEGORY(lcLocalization, "corvantis.localization")

namespace Localization {

namespace {
const QString kDirectory = QStringLiteral(":/i18n");
const QString kBaseName = QStringLiteral("corvantis");
}  // namespace

void install() {
    static bool installed = false;
    if (installed || QCoreApplication::instance() == nullptr) {
        return;
    }
    installed = true;
    auto* translator = new QTranslator(QCoreApplication::instance());
    // The system's languages in order of preference; English when none of
    // them has texts, so a key never reaches the screen as itself.
    if (!translator->load(QLocale(), kBaseName, QStringLiteral("_"), kDirectory) &&
        !translator->load(kBaseName + QStringLiteral("_en"), kDirectory)) {
        qCWarning(lcLocalization) << "No shown texts were built into the application";
        delete translator;
        return;
    }
    QCoreApplication::installTranslator(translator);
}

QString text(const char* key) {
    install();
    return qtTrId(key);
}

}  // namespace Localization
