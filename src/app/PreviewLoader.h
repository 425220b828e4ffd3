// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <memory>
#include <stop_token>

#include <QImage>
#include <QObject>
#include <QQmlParserStatus>
#include <QSize>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include "ImageFitter.h"
#include "ImageStore.h"

namespace parcelo {

// A decoded engine bitmap as an image Qt can draw, holding the bitmap's own pixels.
QImage imageOf(Bitmap bitmap);

// Decodes one image file for display, off the main thread, at most 1,600 pixels on its longer
// edge. A new `source` cancels the load in progress; a load overtaken by a newer source never
// shows, so that quickly switching images ends with the picture of the last one.
class PreviewLoader : public QObject, public QQmlParserStatus {
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT

    /// The file to show; empty for none.
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged FINAL)
    /// Where QML's Image finds the decoded picture; empty while loading or after a failure.
    Q_PROPERTY(QUrl image READ image NOTIFY imageChanged FINAL)
    /// The decoded picture's size in pixels; empty while there is none.
    Q_PROPERTY(QSizeF imageSize READ imageSize NOTIFY imageChanged FINAL)
    /// A load is in progress.
    Q_PROPERTY(bool loading READ loading NOTIFY loadingChanged FINAL)
    /// The engine's message when the file cannot be shown; empty otherwise.
    Q_PROPERTY(QString error READ error NOTIFY errorChanged FINAL)

public:
    explicit PreviewLoader(QObject* parent = nullptr);
    ~PreviewLoader() override;
    PreviewLoader(const PreviewLoader&) = delete;
    PreviewLoader& operator=(const PreviewLoader&) = delete;

    [[nodiscard]] QUrl source() const { return source_; }
    void setSource(const QUrl& source);
    [[nodiscard]] QUrl image() const;
    // In real numbers, as QML reads sizes.
    [[nodiscard]] QSizeF imageSize() const { return imageSize_; }
    [[nodiscard]] bool loading() const { return loading_; }
    [[nodiscard]] QString error() const { return error_; }

    void classBegin() override {}
    void componentComplete() override;

signals:
    void sourceChanged();
    void imageChanged();
    void loadingChanged();
    void errorChanged();

private:
    struct Outcome {
        std::optional<QImage> image;
        QString error;
        bool cancelled = false;
    };
    static Outcome decode(const QString& path, std::stop_token stopToken);

    void load();
    void finish(quint64 generation, const Outcome& outcome);
    void show(const QImage& image);
    void setLoading(bool loading);
    void setError(const QString& error);

    QUrl source_;
    QSizeF imageSize_;
    QString key_;
    bool loading_ = false;
    bool complete_ = false;
    QString error_;
    quint64 generation_ = 0;
    std::shared_ptr<std::stop_source> stop_;
    std::shared_ptr<ImageStore> store_;
};

}  // namespace parcelo
