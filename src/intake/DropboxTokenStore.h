#pragma once

#include <QDateTime>
#include <QString>
#include <functional>
#include <optional>

// The sign-in a user gave the application, kept across launches.
struct DropboxTokens {
    QString appKey;
    QString accessToken;
    QString refreshToken;
    QDateTime expiresAt;  // invalid when the service gave no lifetime
    QString uid;
    // The two tokens are in the system keychain and not loaded yet: see readSecrets.
    bool inKeychain = false;
};

struct DropboxSecrets {
    QString accessToken;
    QString refreshToken;
};

// Keeps the sign-in across launches: its tokens in the system keychain where a
// Secret Service answers on the session bus, else in one file of the config
// directory that only the user can read (mode 0600, written atomically). The
// file is there whenever someone is signed in: it holds the tokens, or says
// that the keychain does, so that the signed-in state is known at once without
// waiting on the keychain. Nothing here ever logs a token, and nothing waits on
// the keychain: a keychain that fails or doesn't answer in time leaves the
// tokens in the file, with one log line.
namespace DropboxTokenStore {
QString filePath();
// Nothing when there is no file or it can't be read as tokens. A file that
// still holds the tokens has them moved into the keychain, when it works.
std::optional<DropboxTokens> load();
// Writes the tokens to the file at once, then moves them into the keychain
// when it works: the new place is written before the old one is cleared.
bool save(const DropboxTokens& tokens);
void remove();
// The tokens that load() left in the keychain. `done` runs later, on the main
// thread, with nothing when the keychain failed or did not answer in time.
void readSecrets(std::function<void(const std::optional<DropboxSecrets>&)> done);
// Whether a keychain call is on its way (each ends within a few seconds).
bool keychainBusy();
}  // namespace DropboxTokenStore
