#include "Thumbnails.h"

#include <QQmlEngine>
#include <QQuickAsyncImageProvider>
#include <QRunnable>
#include <QThreadPool>

#include "ThumbnailCache.h"

namespace {

// Decodes one picture on the provider's pool. It never touches the response,
// which may be cancelled and gone by then: the answer travels by a signal.
class ThumbnailRunnable final : public QObject, public QRunnable {
    Q_OBJECT

public:
    explicit ThumbnailRunnable(QString key) : m_key(std::move(key)) {}

    void run() override {
        ThumbnailCache& cache = ThumbnailCache::shared();
        QImage image;
        if (std::optional<QImage> found = cache.load(cache.trackFor(m_key))) {
            image = *found;
        } else {
            // A transparent pixel: the row's placeholder stays in view.
            image = QImage(1, 1, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
        }
        emit done(image);
    }

signals:
    void done(const QImage& image);

private:
    QString m_key;
};

class ThumbnailResponse final : public QQuickImageResponse {
public:
    ThumbnailResponse(const QString& key, QThreadPool& pool) {
        auto* runnable = new ThumbnailRunnable(key);
        connect(runnable, &ThumbnailRunnable::done, this, [this](const QImage& image) {
            m_image = image;
            emit finished();
        });
        pool.start(runnable);
    }

    QQuickTextureFactory* textureFactory() const override {
        return QQuickTextureFactory::textureFactoryForImage(m_image);
    }

private:
    QImage m_image;
};

class ThumbnailProvider final : public QQuickAsyncImageProvider {
public:
    ThumbnailProvider() { m_pool.setMaxThreadCount(2); }
    ~ThumbnailProvider() override { m_pool.waitForDone(); }

    QQuickImageResponse* requestImageResponse(const QString& id, const QSize&) override {
        return new ThumbnailResponse(id, m_pool);
    }

private:
    QThreadPool m_pool;
};

}  // namespace

Thumbnails* Thumbnails::create(QQmlEngine* engine, QJSEngine*) {
    install(engine);
    return new Thumbnails;
}

void Thumbnails::install(QQmlEngine* engine) {
    if (engine && !engine->imageProvider(QLatin1String(kProviderName))) {
        engine->addImageProvider(QLatin1String(kProviderName), new ThumbnailProvider);
    }
}

QString Thumbnails::source(const QString& key) {
    if (key.isEmpty()) {
        return {};
    }
    return QStringLiteral("image://%1/%2").arg(QLatin1String(kProviderName), key);
}

#include "Thumbnails.moc"
