#pragma once

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <optional>

#include "AppDirectories.h"
#include "DropboxManager.h"
#include "FakeDropbox.h"
#include "TestSupport.h"

// The service's file at `path`, as a listing names it.
inline CloudFile remoteFile(const QString& path) {
    return {path.toLower(), path.section('/', -1), Intake::Source::dropbox};
}

// The permission bits of the file at `path`; -1 when there is none.
inline int fileMode(const QString& path) {
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

// Every Qt message from now on, diagnostics included, for a check that no
// secret reaches them.
inline QStringList& captureMessages() {
    static QStringList messages;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        messages.append(message);
    });
    return messages;
}

// A test against the local fake service, with the client pointed at it. Each
// TEST runs in a process of its own, so the shared managers start fresh.
class CloudTest : public ::testing::Test {
protected:
    void SetUp() override { fake.useFromClient(); }

    // The client goes first and its connections are seen closed: Qt's transfer
    // thread still holds an aborted reply's buffers until it has heard of the
    // abort, and a process that ends before then reports them as leaked.
    void TearDown() override {
        DropboxClientsManager::setupWithAppKey(QString());
        waitUntil([&] { return fake.openConnections() == 0; }, 2000);
    }

    // A sign-in stored by an earlier run; call before the managers' first use.
    DropboxTokens signInBeforeLaunch() {
        const DropboxTokens tokens = fake.issueTokens();
        EXPECT_TRUE(DropboxTokenStore::save(tokens));
        return tokens;
    }

    std::optional<Result<std::vector<FileProtocol>>> list(
        const QString& path, std::optional<std::vector<Intake::Metadata>> entries = std::nullopt,
        std::optional<QString> cursor = std::nullopt) {
        std::optional<Result<std::vector<FileProtocol>>> result;
        DropboxManager::shared().listFolder(path, entries, cursor,
                                            [&](const auto& answer) { result = answer; });
        EXPECT_FALSE(result.has_value());  // never inside the caller's call
        EXPECT_TRUE(waitUntil([&] { return result.has_value(); }, 10000));
        return result;
    }

    static QStringList names(const std::vector<FileProtocol>& entries) {
        QStringList result;
        for (const FileProtocol& entry : entries) {
            result.append(entry.name());
        }
        return result;
    }

    // Every file in the music folder, hidden ones too.
    static QStringList musicFolderContents() {
        return QDir(downloadedMusicDirectory())
            .entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

    FakeDropbox fake;
};
