#include "Storyboard.h"

#include <QLoggingCategory>

#include "PlaceholderViewController.h"
#include "ViewController.h"

Q_LOGGING_CATEGORY(lcStoryboard, "corvantis.storyboard")

namespace {

QHash<QString, Storyboard::Bundle>& registry() {
    static QHash<QString, Storyboard::Bundle> bundles;
    return bundles;
}

}  // namespace

void Storyboard::registerBundle(const QString& name, Bundle bundle) {
    registry().insert(name, std::move(bundle));
}

bool Storyboard::isRegistered(const QString& name) {
    return registry().contains(name);
}

void Storyboard::unregisterAll() {
    registry().clear();
}

ViewController* Storyboard::placeholder(const QString& what) const {
    qCWarning(lcStoryboard).noquote()
        << "The screen" << what << "is not built yet; a plain page stands in";
    auto* page = new PlaceholderViewController(m_name);
    return page;
}

ViewController* Storyboard::instantiateInitialViewController() const {
    const auto found = registry().constFind(m_name);
    if (found == registry().constEnd() || !found->initial) {
        return placeholder(QStringLiteral("\"%1\"").arg(m_name));
    }
    ViewController* controller = found->initial();
    if (controller == nullptr) {
        qFatal("The bundle \"%s\" has no initial screen", qPrintable(m_name));
    }
    return controller;
}

ViewController* Storyboard::instantiateViewControllerWithIdentifier(
    const QString& identifier) const {
    const auto found = registry().constFind(m_name);
    if (found == registry().constEnd()) {
        return placeholder(QStringLiteral("\"%1\" of \"%2\"").arg(identifier, m_name));
    }
    const auto factory = found->identified.constFind(identifier);
    if (factory == found->identified.constEnd() || !*factory) {
        qFatal("The bundle \"%s\" has no screen \"%s\"", qPrintable(m_name),
               qPrintable(identifier));
    }
    return (*factory)();
}
