// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <optional>

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

#include "FolderBrowser.h"

namespace parcelo {

class AppModel;

// The file and folder choosers the model asks for. The desktop's own chooser answers through the
// XDG desktop portal (GNOME, KDE, sandboxes) when the session has one; when no portal answers,
// the view shows Parcelo's own chooser over `browser` and confirms it here. Either way the choice ends in
// one model operation. Runs on the main thread.
class FileChooser : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    // Parcelo's own chooser, shown by the view when no portal answers.
    Q_PROPERTY(parcelo::FolderBrowser* browser READ browser CONSTANT FINAL)

public:
    // What a chooser is for, and so what it lets the user pick.
    // (Capitalised: QML reads only enumerators that start with a capital.)
    enum class Purpose {
        AddImages,   // several image files: "Choose images or folders"
        AddFolders,  // several folders
        SaveFolder,  // one folder to save into: "Save fitted copies", "Save here"
    };
    Q_ENUM(Purpose)

    // The portal's well-known name; tests point the chooser at no portal at all.
    static constexpr const char* kPortalService = "org.freedesktop.portal.Desktop";

    explicit FileChooser(AppModel& model, QObject* parent = nullptr);
    // The singleton of `Parcelo.Model`: the chooser the engine was prepared with (prepareEngine).
    static FileChooser* create(QQmlEngine* engine, QJSEngine*);

    // The D-Bus name asked for the portal; an empty name means "no portal".
    void setPortalService(const QString& service) { portalService_ = service; }

    // Shows the chooser: the portal's when one answers, else asks the view for Qt's own.
    Q_INVOKABLE void choose(parcelo::FileChooser::Purpose purpose);
    // A chooser was confirmed with these locations.
    Q_INVOKABLE void accept(parcelo::FileChooser::Purpose purpose, const QList<QUrl>& urls);
    // Parcelo's own chooser was confirmed: what it shows as chosen goes where it was asked for.
    Q_INVOKABLE void acceptBrowsed();

    [[nodiscard]] FolderBrowser* browser() { return &browser_; }

    // The request's options as the portal receives them, for one purpose.
    [[nodiscard]] static QVariantMap portalOptions(Purpose purpose, const QString& token);
    [[nodiscard]] static QString title(Purpose purpose);

signals:
    // No portal answered: the view shows Parcelo's own chooser, made ready for this purpose.
    void fallbackRequested(parcelo::FileChooser::Purpose purpose);
    // The desktop's dialog was answered (chosen or cancelled) and the choice handed on.
    void portalAnswered();

private slots:
    void portalResponded(uint response, const QVariantMap& results);

private:
    void askPortal(Purpose purpose);
    void stopListening();
    void browse(Purpose purpose);

    AppModel& model_;
    QString portalService_ = QString::fromLatin1(kPortalService);
    // The request the portal is answering; none when no portal dialog is open.
    std::optional<Purpose> pending_;
    QString requestPath_;
    int requests_ = 0;
    FolderBrowser browser_;
    // What Parcelo's own chooser was last shown for.
    Purpose browsing_ = Purpose::AddImages;
};

}  // namespace parcelo
