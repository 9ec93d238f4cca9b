#pragma once

#include <QFile>
#include <QJsonObject>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "CloudFile.h"
#include "DropboxDownloadRequest.h"
#include "DropboxTokenStore.h"

class QNetworkAccessManager;
class QNetworkReply;
class QNetworkRequest;

// Where the service lives. Tests point all three at a local fake through
// CORVANTIS_DROPBOX_API_URL, CORVANTIS_DROPBOX_CONTENT_URL and
// CORVANTIS_DROPBOX_AUTH_URL.
// How long a call may go without a byte moving before it fails.
constexpr int dropboxStallTimeoutMs = 60000;

struct DropboxEndpoints {
    QUrl api;
    QUrl content;
    QUrl auth;

    static DropboxEndpoints fromEnvironment();
};

namespace Intake {

// One entry of a listing page: a folder, or anything else, which counts as a file.
struct Metadata {
    bool isFolder = false;
    QString name;
    std::optional<QString> pathLower;
};

}  // namespace Intake

struct ListFolderResult {
    std::vector<Intake::Metadata> entries;
    QString cursor;
    bool hasMore = false;
};

using ListFolderResponse = std::variant<ListFolderResult, CallError>;

// The form the service accepts: runs of "/" collapsed, no trailing "/", and the
// root as "" (it answers "/" with 400 and "a/" with 409 malformed_path).
QString dropboxWirePath(const QString& path);
// JSON for an HTTP header: compact, with every character beyond ASCII as \uXXXX.
QByteArray dropboxHeaderJson(const QJsonObject& object);

// The signed-in client: the calls the application makes of the service, with
// the access token refreshed once, transparently, when it has run out.
class DropboxClient : public QObject {
    Q_OBJECT

public:
    DropboxClient(DropboxTokens tokens, DropboxEndpoints endpoints, QObject* parent = nullptr);
    ~DropboxClient() override;

    // The first page of a folder.
    void listFolder(const QString& path, std::function<void(const ListFolderResponse&)> done);
    void listFolderContinue(const QString& cursor,
                            std::function<void(const ListFolderResponse&)> done);
    // A transfer of the file at `path` into `destination`; set its handlers
    // before control returns to the event loop.
    DropboxDownloadRequest* download(const QString& path, const QString& destination);
    // Revokes the token at the service; `done` runs however that ends.
    void revoke(std::function<void()> done);

    const DropboxTokens& tokens() const { return m_tokens; }

private:
    friend class DropboxDownloadRequest;
    using JsonHandler = std::function<void(const std::variant<QJsonObject, CallError>&)>;

    void rpc(const QString& route, const QJsonObject& arguments, JsonHandler done,
             bool retried = false);
    // Runs `then` with a usable access token: read from the keychain first if
    // it is kept there, refreshed first if it has run out.
    void withFreshToken(std::function<void(bool ok)> then);
    // The tokens are kept in the keychain, which could not give them.
    bool tokensUnreadable() const;
    void refresh(std::function<void(bool ok)> then);
    bool canRefresh() const;
    QByteArray authorization() const;
    // What keeps a call from having a token, when something does.
    std::optional<CallError> tokenError() const;
    // A POST to a content route, signed with the current token.
    QNetworkReply* postContent(const QString& route, QNetworkRequest request);

    DropboxTokens m_tokens;
    DropboxEndpoints m_endpoints;
    QNetworkAccessManager* m_network;
    std::vector<std::function<void(bool)>> m_refreshWaiters;
    std::vector<std::function<void(bool)>> m_keychainWaiters;
};

// The service's words for a failed HTTP exchange (status, error body, headers).
CallError dropboxCallError(QNetworkReply* reply, const QByteArray& body);
int dropboxHttpStatus(QNetworkReply* reply);
