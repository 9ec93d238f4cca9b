#pragma once

#include <QString>
#include <QUrl>
#include <functional>
#include <optional>

#include "DropboxLoopbackRedirect.h"

class DropboxClient;

// How a sign-in at the service ended.
struct OAuthResult {
    enum class Kind { success, error, cancel };
    Kind kind = Kind::success;
    std::optional<QString> errorDescription;  // only for `error`
};

// Set-up, sign-in (OAuth 2 with PKCE for an installed application) and the
// signed-in client, which survives restarts through DropboxTokenStore.
class DropboxClientsManager {
public:
    using OpenUrl = std::function<void(const QUrl&)>;
    using RedirectCompletion = std::function<void(const std::optional<OAuthResult>&)>;

    // The key of the deployment: CORVANTIS_DROPBOX_APP_KEY, else the
    // "DropboxAppKey" setting. Empty unless it is 15 lower-case letters and digits.
    static QString appKeyFromConfiguration();

    // An invalid key leaves the client "not configured": sign-in fails at once.
    static void setupWithAppKey(const QString& appKey);
    static bool isConfigured();
    static QString appKey();

    // Where the service sends the browser after the sign-in page.
    enum class Redirect {
        scheme,    // db-<appkey>://2/token, registered with the desktop
        loopback,  // a listener on 127.0.0.1, where the scheme can't be registered
        none,      // the service shows the code to the user
    };

    // Starts a sign-in: makes a fresh verifier and hands the authorize address to
    // `openURL`. A loopback redirect hands what it receives to the handler set
    // below; where no port can be had the service shows the code instead.
    // Not configured: `openURL` is not called and false is returned.
    // A loopback listener waits `loopbackTimeoutMs` at most.
    static bool authorizeFromController(const OpenUrl& openURL,
                                        Redirect redirect = Redirect::scheme,
                                        int loopbackTimeoutMs = dropboxLoopbackTimeoutMs);
    // Gives up the sign-in in progress: its listener closes, and a later
    // answer of the service belongs to no sign-in.
    static void cancelSignIn();
    // Where a loopback listener hands the redirect it received.
    static void setLoopbackHandler(std::function<void(const QUrl&)> handler);
    // Whether a loopback listener still waits for the browser.
    static bool isAwaitingLoopbackRedirect();
    // The redirect address that carries `code` for the sign-in in progress.
    static QUrl redirectUrlForCode(const QString& code);
    // Finishes a sign-in from the service's redirect. `completion` runs later,
    // on the main thread, with nothing when the URL is no answer of the service.
    static void handleRedirectURL(const QUrl& url, RedirectCompletion completion);

    // The signed-in client, or null when nobody is signed in.
    static DropboxClient* authorizedClient();
    // Signs out: forgets the stored tokens at once and revokes them at the
    // service; `revoked` runs when the service has answered (or failed to).
    static void unlinkClients(std::function<void()> revoked = {});
};
