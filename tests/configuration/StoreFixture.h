#pragma once

#include "ChildCase.h"
#include "TestFolder.h"
#include "configuration/CameraConfiguration.h"
#include "configuration/CameraConfigurationStore.h"
#include "fakes/CapturingLogSink.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumvik::test {

/// Texts that the store logs.
inline const QString primaryInvalid =
    u"Primary camera configuration is invalid; attempting owner-only recovery."_s;
inline const QString notRefreshed =
    u"The camera list was saved, but its recovery copy could not be refreshed."_s;

inline LoggedLine line(LogLevel level, const QString &text) {
    return {level, u"configuration"_s, text};
}

inline QByteArray documentOf(const CameraList &cameras) {
    return CameraConfiguration{cameras}.encoded();
}

/// A file manager that cannot set the permissions of one file, as on a memory stick without
/// permissions.
class NoPermissions : public FileManager {
  public:
    explicit NoPermissions(QString path) : m_path(std::move(path)) {}
    tl::expected<void, FileError> setPermissions(const QString &path, mode_t mode) const override {
        if (path == m_path)
            return tl::unexpected(FileError{FileError::Operation::setPermissions, path, EPERM});
        return FileManager::setPermissions(path, mode);
    }

  private:
    QString m_path;
};

/// A store in a temporary folder, with helpers that prepare its files and check its results.
class Store : public testing::Test {
  protected:
    [[nodiscard]] QString primary() const { return folder.path(u"lumvik/cameras.json"_s); }
    [[nodiscard]] QString recovery() const {
        return folder.path(u"lumvik/cameras.last-good.json"_s);
    }
    [[nodiscard]] QStringList storedNames() const { return TestFolder::namesIn(storage); }

    void makeStorage() const { ASSERT_TRUE(QDir().mkpath(storage)); }
    void putPrimary(const QByteArray &bytes) const {
        makeStorage();
        putBytes(primary(), bytes);
    }
    void putRecovery(const QByteArray &bytes) const {
        makeStorage();
        putBytes(recovery(), bytes);
    }

    void expectLoads(const CameraList &cameras) const {
        const auto loaded = store.load();
        ASSERT_TRUE(loaded.has_value()) << qPrintable(errorDescription(loaded.error()));
        EXPECT_EQ(*loaded, cameras);
    }
    void expectLoadFails(const StoreError &error) const {
        const auto loaded = store.load();
        ASSERT_FALSE(loaded.has_value());
        EXPECT_EQ(loaded.error(), error) << qPrintable(errorDescription(loaded.error()));
    }
    void expectSaves(const CameraList &cameras) const {
        const auto saved = store.save(cameras);
        EXPECT_TRUE(saved.has_value()) << qPrintable(errorDescription(saved.error()));
    }
    void expectSaveFails(const FileError &error) const {
        const auto saved = store.save(manyCameras(3, u"New"_s));
        ASSERT_FALSE(saved.has_value());
        EXPECT_EQ(saved.error(), StoreError(error)) << qPrintable(errorDescription(saved.error()));
    }

    [[nodiscard]] FileError readError(int code) const {
        return {FileError::Operation::read, primary(), code};
    }
    [[nodiscard]] FileError writeError(int code) const {
        return {FileError::Operation::write, primary(), code};
    }

    const TestFolder folder;
    const QString storage = folder.path(u"lumvik"_s);
    const CameraConfigurationStore store{storage};
    CapturedLog log;
};

} // namespace lumvik::test
