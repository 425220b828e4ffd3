// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "PreviewLoader.h"

#include <atomic>

#include <QQmlEngine>
#include <QThreadPool>

#include "BackgroundTask.h"
#include "FitError.h"
#include "PathText.h"

namespace parcelo {

namespace {

constexpr auto kProviderName = "previews";

// Keys are unique for the life of the process, so that QML never shows a stale picture
// from its own cache under a reused address.
QString nextKey() {
    static std::atomic<quint64> counter{0};
    return QString::number(++counter);
}

// Preview decodes are asked for by the user and shown at once: they share a pool of their own
// rather than queue behind the thumbnail pass.
QThreadPool& previewPool() {
    static QThreadPool pool;
    return pool;
}

}  // namespace

// The image takes the decoded bytes over rather than copying them; the last copy of the image
// frees them.
QImage imageOf(Bitmap bitmap) {
    auto* pixels = new std::vector<std::uint8_t>(std::move(bitmap.rgba));
    return {pixels->data(), static_cast<int>(bitmap.width), static_cast<int>(bitmap.height),
            static_cast<qsizetype>(bitmap.width * 4), QImage::Format_RGBA8888,
            [](void* held) { delete static_cast<std::vector<std::uint8_t>*>(held); }, pixels};
}

PreviewLoader::PreviewLoader(QObject* parent) : QObject(parent) {}

PreviewLoader::~PreviewLoader() {
    if (stop_) stop_->request_stop();
    if (store_ && !key_.isEmpty()) store_->remove(key_);
}

void PreviewLoader::setSource(const QUrl& source) {
    if (source == source_) return;
    source_ = source;
    emit sourceChanged();
    if (complete_) load();
}

QUrl PreviewLoader::image() const {
    return key_.isEmpty() ? QUrl() : QUrl(QStringLiteral("image://%1/%2").arg(QLatin1String(kProviderName), key_));
}

void PreviewLoader::componentComplete() {
    complete_ = true;
    if (auto* engine = qmlEngine(this))
        if (auto* provider = dynamic_cast<ImageStoreProvider*>(engine->imageProvider(QLatin1String(kProviderName))))
            store_ = provider->store();
    load();
}

PreviewLoader::Outcome PreviewLoader::decode(const QString& path, std::stop_token stopToken) {
    try {
        return {imageOf(ImageFitter::preview(toFsPath(path), kLargestPreviewEdge, stopToken)), {}, false};
    } catch (const FitError& error) {
        const auto text = error.errorDescription();
        return {std::nullopt, QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())), false};
    } catch (const CancellationError&) {
        return {std::nullopt, {}, true};
    } catch (const std::exception& error) {
        return {std::nullopt, QString::fromUtf8(error.what()), false};
    }
}

// Starts over: the picture goes at once (the placeholder shows) and any earlier load is
// cancelled; only the newest generation may write its result.
void PreviewLoader::load() {
    if (stop_) stop_->request_stop();
    stop_.reset();
    show({});
    setError({});
    const quint64 generation = ++generation_;
    if (source_.isEmpty() || !store_) return setLoading(false);
    setLoading(true);
    stop_ = std::make_shared<std::stop_source>();
    runInBackground(
        previewPool(), this,
        [path = source_.toLocalFile(), stopToken = stop_->get_token()] { return decode(path, stopToken); },
        [this, generation](const Outcome& outcome) { finish(generation, outcome); });
}

void PreviewLoader::finish(quint64 generation, const Outcome& outcome) {
    if (generation != generation_ || outcome.cancelled) return;
    stop_.reset();
    if (outcome.image) show(*outcome.image);
    setError(outcome.error);
    setLoading(false);
}

void PreviewLoader::show(const QImage& image) {
    if (key_.isEmpty() && image.isNull()) return;
    if (!key_.isEmpty()) store_->remove(key_);
    key_.clear();
    imageSize_ = image.size();
    if (!image.isNull()) {
        key_ = nextKey();
        store_->insert(key_, image);
    }
    emit imageChanged();
}

void PreviewLoader::setLoading(bool loading) {
    if (loading == loading_) return;
    loading_ = loading;
    emit loadingChanged();
}

void PreviewLoader::setError(const QString& error) {
    if (error == error_) return;
    error_ = error;
    emit errorChanged();
}

}  // namespace parcelo
