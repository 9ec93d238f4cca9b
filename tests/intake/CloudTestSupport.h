#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <optional>

#include "AppDirectories.h"
#include "DropboxManager.h"
#include "FakeDropbox.h"
#include "TestSupport.h"

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

    std::optional<Result<std::vector<FileProtocol>>> list(const QString& path) {
        std::optional<Result<std::vector<FileProtocol>>> result;
        DropboxManager::shared().listFolder(path, std::nullopt, std::nullopt,
                                            [&](const auto& answer) { result = answer; });
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
