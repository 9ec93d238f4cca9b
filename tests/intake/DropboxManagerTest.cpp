#include <QJsonDocument>
#include <QLoggingCategory>
#include <QUrlQuery>

#include "CloudTestSupport.h"
#include "DropboxLoopbackRedirect.h"
#include "HttpTestClient.h"
#include "Localization.h"
#include "Log.h"

using Intake::Folder;
using Intake::Metadata;
using Intake::Source;

TEST(DropboxWire, PathsAreNormalisedAndHeaderJsonIsAscii) {
    EXPECT_EQ(dropboxWirePath("/"), "");
    EXPECT_EQ(dropboxWirePath("//"), "");
    EXPECT_EQ(dropboxWirePath(""), "");
    EXPECT_EQ(dropboxWirePath("/Music//Live/"), "/Music/Live");
    EXPECT_EQ(dropboxWirePath("/a///b"), "/a/b");
    EXPECT_EQ(
        dropboxHeaderJson(QJsonObject{{"path", QString::fromUtf8("/Ça/日本\xF0\x9F\x8E\xB5")}}),
        QByteArray(R"({"path":"/\u00c7a/\u65e5\u672c\ud83c\udfb5"})"));
}

TEST_F(CloudTest, PagesArriveNewestFirstWithTheirOwnOrderKept) {
    signInBeforeLaunch();
    for (const char* name : {"A.mp3", "B.mp3", "C.mp3", "D.mp3", "E.mp3"}) {
        fake.addFile(QStringLiteral("/Music/") + name, "x");
    }
    fake.setPageSizes({3, 1, 1});
    const auto result = list("/Music");
    ASSERT_TRUE(result && result->isSuccess());
    EXPECT_EQ(names(result->value()), (QStringList{"E.mp3", "D.mp3", "A.mp3", "B.mp3", "C.mp3"}));
    EXPECT_EQ(fake.count("/2/files/list_folder/continue"), 2);

    // A failed page drops the pages before it, and the caller hears once.
    fake.failOnce("/2/files/list_folder/continue", {500, "oops", {}});
    int calls = 0;
    std::optional<Result<std::vector<FileProtocol>>> failed;
    DropboxManager::shared().listFolder("/Music", std::nullopt, std::nullopt,
                                        [&](const auto& answer) {
                                            ++calls;
                                            failed = answer;
                                        });
    ASSERT_TRUE(waitUntil([&] { return calls > 0; }));
    ASSERT_FALSE(failed->isSuccess());
    EXPECT_TRUE(std::holds_alternative<DescribableError>(failed->error()));
    EXPECT_TRUE(errorText(failed->error()).contains("500"));

    // Entries, not the cursor, decide which page is asked for: a cursor alone
    // still gets the first page; entries alone a continuation, with the empty
    // cursor the service refuses. (By the time these are answered, the failed
    // listing above has said all it will.)
    EXPECT_TRUE(list("/Music", std::nullopt, QString("ignored"))->isSuccess());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(fake.count("/2/files/list_folder"), 3);
    EXPECT_FALSE(list("/Music", std::vector<Metadata>{})->isSuccess());
    EXPECT_EQ(fake.count("/2/files/list_folder/continue"), 6);

    // The first call carries exactly the listing options, and nothing more.
    const QJsonObject options =
        QJsonDocument::fromJson(fake.requests("/2/files/list_folder").value(0).body).object();
    EXPECT_EQ(options, (QJsonObject{{"path", "/Music"},
                                    {"recursive", false},
                                    {"include_media_info", false},
                                    {"include_deleted", false},
                                    {"include_has_explicit_shared_members", false},
                                    {"include_mounted_folders", true},
                                    {"include_non_downloadable_files", true}}));
}

TEST_F(CloudTest, ListingSignedOutFailsUnauthorizedLater) {
    const auto result = list("");
    ASSERT_TRUE(result.has_value());
    ASSERT_FALSE(result->isSuccess());
    EXPECT_TRUE(std::holds_alternative<AuthError>(result->error()));
    EXPECT_EQ(errorText(result->error()), "Unauthorized");
    EXPECT_EQ(fake.count("/2/files/list_folder"), 0);
}

TEST_F(CloudTest, OnlyFoldersAndMusicByExtensionAreKept) {
    signInBeforeLaunch();
    fake.addFolder("/Music/Live");
    for (const char* name : {"Song.MP3", "Song.wav", "Song.mp4", "README", "Tune.ogg", "x.m3u8"}) {
        fake.addFile(QStringLiteral("/Music/") + name, "x");
    }
    fake.addFileWithoutLowerPath("/Music/Shared.mp3", "x");
    const auto result = list("/Music");
    ASSERT_TRUE(result && result->isSuccess());
    const std::vector<FileProtocol>& entries = result->value();
    ASSERT_EQ(names(entries), (QStringList{"Live", "Song.MP3", "Tune.ogg", "Shared.mp3"}));
    ASSERT_NE(entries[0].folder(), nullptr);
    EXPECT_EQ(*entries[0].folder(), (Folder{QString(), "Live", folderMimeType()}));
    ASSERT_NE(entries[1].cloudFile(), nullptr);
    EXPECT_EQ(*entries[1].cloudFile(), (CloudFile{"/music/song.mp3", "Song.MP3", Source::dropbox}));
    // Without a lower-case path, the file's ID is empty.
    EXPECT_EQ(*entries[3].cloudFile(), (CloudFile{"", "Shared.mp3", Source::dropbox}));
}

TEST_F(CloudTest, CallersPathFormsReachTheServiceNormalised) {
    signInBeforeLaunch();
    fake.addFile("/Music/Live/Show.mp3", "x");
    fake.addFile("/Top.mp3", "x");
    const auto nested = list("/Music//Live/");
    ASSERT_TRUE(nested && nested->isSuccess()) << errorText(nested->error()).toStdString();
    EXPECT_EQ(names(nested->value()), QStringList{"Show.mp3"});
    for (const QString root : {"//", "/", ""}) {
        const auto top = list(root);
        ASSERT_TRUE(top && top->isSuccess()) << root.toStdString();
        EXPECT_EQ(names(top->value()), (QStringList{"Music", "Top.mp3"}));
    }
}

TEST_F(CloudTest, ServiceErrorsBecomeDescribableErrorsWithTheirWords) {
    signInBeforeLaunch();
    fake.addFolder("/Music");
    const auto missing = list("/Nowhere");
    ASSERT_FALSE(missing->isSuccess());
    EXPECT_TRUE(errorText(missing->error()).contains("path/not_found"))
        << errorText(missing->error()).toStdString();

    fake.failOnce(
        "/2/files/list_folder",
        {429, R"({"error_summary":"too_many_requests/..","error":{".tag":"too_many_requests"}})",
         "7"});
    const auto limited = list("/Music");
    ASSERT_FALSE(limited->isSuccess());
    EXPECT_TRUE(errorText(limited->error()).contains("too_many_requests"));
    EXPECT_TRUE(errorText(limited->error()).contains("7 seconds"));
}

TEST_F(CloudTest, ListingsThatWouldNeverEndStopWithTheirReason) {
    signInBeforeLaunch();
    fake.addFile("/Music/A.mp3", "x");
    struct Case {
        FakeDropbox::Listing listing;
        int pageLimit;
        int continuations;
        const char* reason;
    };
    const Case cases[] = {
        {FakeDropbox::Listing::repeatsItsCursor, 10000, 1, "gave a cursor it had given before"},
        {FakeDropbox::Listing::neverEnds, 20, 19, "still announced more after 20 pages"},
    };
    int asked = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        fake.setListing(c.listing);
        DropboxManager::shared().maxListingPages = c.pageLimit;
        const auto result = list("/Music");
        ASSERT_TRUE(result && !result->isSuccess());
        EXPECT_TRUE(std::holds_alternative<DescribableError>(result->error()));
        EXPECT_TRUE(errorText(result->error()).startsWith("Bad response from the server: "));
        EXPECT_TRUE(errorText(result->error()).contains(c.reason))
            << errorText(result->error()).toStdString();
        asked += c.continuations;
        EXPECT_EQ(fake.count("/2/files/list_folder/continue"), asked);
    }

    // A listing that ends is read whole however many pages it has.
    fake.setListing(FakeDropbox::Listing::ends);
    for (const char* name : {"B.mp3", "C.mp3", "D.mp3"}) {
        fake.addFile(QStringLiteral("/Music/") + name, "x");
    }
    fake.setPageSizes({1});
    DropboxManager::shared().maxListingPages = 4;
    const auto whole = list("/Music");
    ASSERT_TRUE(whole && whole->isSuccess()) << errorText(whole->error()).toStdString();
    EXPECT_EQ(whole->value().size(), 4u);
}

TEST_F(CloudTest, AnswersThatAreNoListingSayWhatWentWrong) {
    signInBeforeLaunch();
    fake.addFile("/Music/A.mp3", "x");
    const QByteArray page = R"({"entries":[],"cursor":"c","has_more":false})";
    struct Case {
        FakeDropbox::Failure answer;
        const char* expected;
    };
    const Case cases[] = {
        {{200, "[1,2]", {}}, "Bad response from the server: expected a JSON object"},
        {{200, R"({"entries":[)", {}}, "Bad response from the server: "},
        {{200, page, {}, 12},
         "Client error: the connection closed before the whole answer arrived"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer.body.toStdString());
        fake.failOnce("/2/files/list_folder", c.answer);
        const auto result = list("/Music");
        ASSERT_TRUE(result && !result->isSuccess());
        const QString text = errorText(result->error());
        EXPECT_TRUE(text.startsWith(c.expected)) << text.toStdString();
        EXPECT_FALSE(text.contains("no error occurred") || text.contains("HTTP error"))
            << text.toStdString();
    }
    EXPECT_TRUE(list("/Music")->isSuccess());
}

TEST_F(CloudTest, AFailedCodeExchangeSaysWhy) {
    struct Case {
        FakeDropbox::Failure answer;
        const char* expected;
    };
    const Case cases[] = {
        {{500, "<html>down</html>", {}},
         "the service refused the sign-in code with HTTP status 500"},
        {{400, R"({"error":"invalid_request"})", {}}, "invalid_request"},
        {{200, "{}", {}}, "the service's answer to the sign-in code held no access token"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        LogCapture log;
        fake.failOnce("/oauth2/token", c.answer);
        std::optional<VoidResult> result;
        DropboxManager::shared().completion = [&](const VoidResult& answer) { result = answer; };
        QUrl authorizeUrl;
        ASSERT_TRUE(DropboxClientsManager::authorizeFromController(
            [&](const QUrl& url) { authorizeUrl = url; }));
        DropboxManager::shared().openURL(QUrl(fake.visitAuthorizePage(authorizeUrl)));
        ASSERT_TRUE(waitUntil([&] { return result.has_value(); }));
        ASSERT_FALSE(result->isSuccess());
        EXPECT_EQ(errorText(result->error()), c.expected);
        EXPECT_TRUE(log.contains(QStringLiteral("Error: ") + c.expected));
        EXPECT_FALSE(log.contains("Error: "));
    }
    EXPECT_EQ(DropboxClientsManager::authorizedClient(), nullptr);
}

TEST_F(CloudTest, AnExpiredTokenIsRefreshedOnceAndKept) {
    const DropboxTokens stored = signInBeforeLaunch();
    fake.addFile("/A.mp3", "x");
    ASSERT_TRUE(list("")->isSuccess());
    fake.expireAccessTokens();
    const auto again = list("");
    ASSERT_TRUE(again && again->isSuccess());
    EXPECT_EQ(fake.count("/oauth2/token"), 1);
    const auto kept = DropboxTokenStore::load();
    ASSERT_TRUE(kept);
    EXPECT_NE(kept->accessToken, stored.accessToken);
    EXPECT_EQ(kept->refreshToken, stored.refreshToken);

    // A refresh that the service refuses ends in the call's own failure.
    fake.expireAccessTokens();
    fake.failOnce("/oauth2/token", {400, R"({"error":"invalid_grant"})", {}});
    const auto refused = list("");
    ASSERT_FALSE(refused->isSuccess());
    EXPECT_TRUE(errorText(refused->error()).contains("expired_access_token"));
}

namespace {

// A sign-in started as from the app's button; the browser is sent to `authorizeUrl`.
struct SignIn {
    void start(DropboxClientsManager::Redirect redirect = DropboxClientsManager::Redirect::scheme) {
        DropboxManager::shared().completion = [this](const VoidResult& answer) {
            ++calls;
            result = answer;
        };
        ASSERT_TRUE(DropboxClientsManager::authorizeFromController(
            [this](const QUrl& url) { authorizeUrl = url; }, redirect));
    }
    QUrl authorizeUrl;
    std::optional<VoidResult> result;
    int calls = 0;
};

}  // namespace

TEST_F(CloudTest, SignInWithPkceStoresTokensForTheUserAlone) {
    // Tokens must never reach a log, diagnostics included.
    QLoggingCategory::setFilterRules("corvantis.*=true");
    const QStringList& messages = captureMessages();
    LogCapture log;
    SignIn signIn;
    signIn.start();
    const QUrlQuery query(signIn.authorizeUrl);
    EXPECT_EQ(query.queryItemValue("code_challenge_method"), "S256");
    EXPECT_EQ(query.queryItemValue("token_access_type"), "offline");
    EXPECT_EQ(query.queryItemValue("redirect_uri", QUrl::FullyDecoded),
              "db-fakeappkey12345://2/token");

    const QString redirect = fake.visitAuthorizePage(signIn.authorizeUrl);
    ASSERT_TRUE(redirect.startsWith("db-fakeappkey12345://2/token?code="))
        << redirect.toStdString();
    EXPECT_TRUE(DropboxManager::shared().openURL(QUrl(redirect)));
    ASSERT_TRUE(waitUntil([&] { return signIn.calls > 0; }));
    EXPECT_EQ(signIn.calls, 1);
    EXPECT_TRUE(signIn.result->isSuccess());
    EXPECT_FALSE(DropboxManager::shared().completion);
    EXPECT_TRUE(log.contains("Success! User is logged into Dropbox."));
    ASSERT_NE(DropboxClientsManager::authorizedClient(), nullptr);

    EXPECT_EQ(fileMode(DropboxTokenStore::filePath()), 0600);

    // A later launch finds the sign-in.
    DropboxClientsManager::setupWithAppKey(FakeDropbox::appKey);
    ASSERT_NE(DropboxClientsManager::authorizedClient(), nullptr);
    fake.addFile("/A.mp3", "x");
    EXPECT_TRUE(list("")->isSuccess());

    const DropboxTokens tokens = DropboxClientsManager::authorizedClient()->tokens();
    qInstallMessageHandler(nullptr);
    for (const QString& line : messages + log.lines()) {
        EXPECT_FALSE(line.contains(tokens.accessToken) || line.contains(tokens.refreshToken))
            << line.toStdString();
    }
}

TEST_F(CloudTest, CancelledSignInCallsCompletionOnceAndForgetsIt) {
    LogCapture log;
    fake.setDenyAuthorization(true);
    SignIn signIn;
    signIn.start();
    const QString redirect = fake.visitAuthorizePage(signIn.authorizeUrl);
    DropboxManager::shared().openURL(QUrl(redirect));
    ASSERT_TRUE(waitUntil([&] { return signIn.calls > 0; }));
    ASSERT_FALSE(signIn.result->isSuccess());
    ASSERT_TRUE(std::holds_alternative<UserCancelledError>(signIn.result->error()));
    EXPECT_EQ(errorText(signIn.result->error()), "The operation was cancelled by the user");
    EXPECT_FALSE(DropboxManager::shared().completion);
    EXPECT_EQ(DropboxClientsManager::authorizedClient(), nullptr);

    // A second redirect finds nobody waiting: only the log line again.
    DropboxManager::shared().openURL(QUrl(redirect));
    ASSERT_TRUE(waitUntil(
        [&] { return log.count("Authorization flow was manually canceled by user!") == 2; }));
    EXPECT_EQ(signIn.calls, 1);
}

TEST_F(CloudTest, RedirectsThatAreNoAnswerOrFailGiveAuthErrors) {
    LogCapture log;
    SignIn signIn;
    signIn.start();
    DropboxManager::shared().openURL(QUrl("https://example.invalid/elsewhere"));
    ASSERT_TRUE(waitUntil([&] { return signIn.calls == 1; }));
    ASSERT_TRUE(std::holds_alternative<AuthError>(signIn.result->error()));
    EXPECT_EQ(errorText(signIn.result->error()), "None");
    EXPECT_TRUE(log.lines().isEmpty());

    // A code the service never issued: the exchange fails with its words.
    signIn.start();
    const QString state = QUrlQuery(signIn.authorizeUrl).queryItemValue("state");
    DropboxManager::shared().openURL(
        QUrl("db-fakeappkey12345://2/token?code=forged&state=" + state));
    ASSERT_TRUE(waitUntil([&] { return signIn.calls == 2; }));
    ASSERT_TRUE(std::holds_alternative<AuthError>(signIn.result->error()));
    EXPECT_EQ(errorText(signIn.result->error()), "code doesn't exist or has expired");
    EXPECT_TRUE(log.contains("Error: code doesn't exist or has expired"));

    // An error without a description: the localised unknown-error text, and a bare log line.
    signIn.start();
    DropboxManager::shared().openURL(QUrl("db-fakeappkey12345://2/token?error=server_error"));
    ASSERT_TRUE(waitUntil([&] { return signIn.calls == 3; }));
    EXPECT_EQ(errorText(signIn.result->error()), Localization::text("error_unkown"));
    EXPECT_NE(errorText(signIn.result->error()), "error_unkown");
    EXPECT_TRUE(log.contains("Error: "));
}

TEST_F(CloudTest, ALoopbackListenerLivesNoLongerThanItsSignIn) {
    // Its time runs out: it closes, and hands nothing on.
    int handed = 0;
    {
        DropboxLoopbackRedirect listener([&](const QUrl&) { ++handed; }, 100);
        ASSERT_TRUE(listener.listen());
        const quint16 port = quint16(QUrl(listener.redirectUri()).port());
        EXPECT_TRUE(acceptsConnections(port));
        ASSERT_TRUE(waitUntil([&] { return !listener.isListening(); }));
        EXPECT_FALSE(acceptsConnections(port));
    }
    EXPECT_EQ(handed, 0);

    // The sign-in completes another way, by the code typed in: the listener goes.
    SignIn signIn;
    signIn.start(DropboxClientsManager::Redirect::loopback);
    ASSERT_TRUE(DropboxClientsManager::isAwaitingLoopbackRedirect());
    const QUrl sentTo(
        QUrlQuery(signIn.authorizeUrl).queryItemValue("redirect_uri", QUrl::FullyDecoded));
    EXPECT_EQ(sentTo.scheme(), "http");
    EXPECT_EQ(sentTo.host(), "127.0.0.1");
    EXPECT_TRUE(acceptsConnections(quint16(sentTo.port())));
    const QUrl redirect(fake.visitAuthorizePage(signIn.authorizeUrl));
    const QString code = QUrlQuery(redirect).queryItemValue("code");
    DropboxManager::shared().openURL(DropboxClientsManager::redirectUrlForCode(code));
    EXPECT_FALSE(DropboxClientsManager::isAwaitingLoopbackRedirect());
    // The exchange names the same redirect address, or the service refuses it.
    ASSERT_TRUE(waitUntil([&] { return signIn.calls > 0; }));
    EXPECT_TRUE(signIn.result->isSuccess()) << errorText(signIn.result->error()).toStdString();
    EXPECT_FALSE(acceptsConnections(quint16(sentTo.port())));
}

TEST(CloudErrors, ScreensSeeTheGenericSentenceNotTheCarriedText) {
    const CloudError auth = AuthError("Unauthorized");
    EXPECT_EQ(errorText(auth), "Unauthorized");
    EXPECT_FALSE(localizedDescription(auth).contains("Unauthorized"));
    EXPECT_TRUE(localizedDescription(auth).contains("Corvantis.AuthError"));
    const CloudError plain = DescribableError("path/not_found");
    EXPECT_TRUE(localizedDescription(plain).contains("Corvantis.DescribableError"));
    const CloudError cancelled = UserCancelledError{"The operation was cancelled by the user"};
    EXPECT_EQ(localizedDescription(cancelled), "The operation was cancelled by the user");
}
