#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

// The sign-in a user gave the application, kept across launches.
struct DropboxTokens {
    QString appKey;
    QString accessToken;
    QString refreshToken;
    QDateTime expiresAt;  // invalid when the service gave no lifetime
    QString uid;
};

// Keeps the tokens in one file of the config directory that only the user can
// read (mode 0600, written atomically). Nothing here ever logs a token.
namespace DropboxTokenStore {
QString filePath();
// Nothing when there is no file or it can't be read as tokens.
std::optional<DropboxTokens> load();
bool save(const DropboxTokens& tokens);
void remove();
}  // namespace DropboxTokenStore
