#include "DropboxSignOut.h"

#include "DocumentImporter.h"
#include "DropboxManager.h"
#include "Log.h"

void signOutOfDropbox(MessagePresenter& presenter, std::function<void()> revoked) {
    signOutOfDropbox(presenter, presenter, std::move(revoked));
}

void signOutOfDropbox(MessagePresenter& window, MessagePresenter& presenter,
                      std::function<void()> revoked) {
    DropboxManager::shared();
    if (!DropboxClientsManager::authorizedClient()) {
        window.presentMessage(
            QStringLiteral("No User Logged In"),
            QStringLiteral("There is no user logged in. Please log in to Dropbox."));
        // The error's default text form names its type, not its description.
        const AuthError error(QStringLiteral("No user logged in"));
        systemLog(QStringLiteral("Sign-out failed with error: ") + error.typeName());
        presenter.presentMessage(
            QStringLiteral("Sign Out Failed"),
            QStringLiteral("Failed to sign out from Dropbox. Error: ") + error.typeName());
        if (revoked) {
            revoked();
        }
        return;
    }
    DropboxClientsManager::unlinkClients(std::move(revoked));
    presenter.presentMessage(QStringLiteral("Sign Out"),
                             QStringLiteral("Successfully signed out from Dropbox"));
}
