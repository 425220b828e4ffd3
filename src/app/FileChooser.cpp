// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FileChooser.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QWindow>

#include "AppModel.h"

namespace parcelo {

namespace {

constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kFileChooserInterface = "org.freedesktop.portal.FileChooser";
constexpr const char* kRequestInterface = "org.freedesktop.portal.Request";
// The portal answers at once with a request handle (its dialog answers later); starting a portal
// that is installed but slow to come up may take a few seconds, and no longer.
constexpr int kPortalCallTimeoutMs = 10'000;
// The portal's answers: the user chose, the user cancelled, or the request ended otherwise.
constexpr uint kResponseChosen = 0;
constexpr uint kResponseCancelled = 1;

// One rule of a portal filter: 0 for a glob pattern, 1 for a MIME type.
struct FilterRule {
    uint kind = 1;
    QString value;
};
// A named filter of the portal's chooser: D-Bus signature (sa(us)).
struct Filter {
    QString name;
    QList<FilterRule> rules;
};

QDBusArgument& operator<<(QDBusArgument& argument, const FilterRule& rule) {
    argument.beginStructure();
    argument << rule.kind << rule.value;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, FilterRule& rule) {
    argument.beginStructure();
    argument >> rule.kind >> rule.value;
    argument.endStructure();
    return argument;
}
QDBusArgument& operator<<(QDBusArgument& argument, const Filter& filter) {
    argument.beginStructure();
    argument << filter.name << filter.rules;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, Filter& filter) {
    argument.beginStructure();
    argument >> filter.name >> filter.rules;
    argument.endStructure();
    return argument;
}

}  // namespace

}  // namespace parcelo

Q_DECLARE_METATYPE(parcelo::FilterRule)
Q_DECLARE_METATYPE(parcelo::Filter)

namespace parcelo {

namespace {

// The seven source formats, by MIME type, so that the desktop matches names in any case.
QList<Filter> imageFilters() {
    Filter images{QStringLiteral("Images"), {}};
    for (const char* type : {"image/jpeg", "image/png", "image/heic", "image/heif", "image/tiff", "image/bmp", "image/gif"})
        images.rules.append({1, QString::fromLatin1(type)});
    return {images};
}

// The portal places its dialog over Parcelo's window when it knows the window; on X11 it is
// named by its id. Elsewhere the dialog is simply not tied to the window.
QString parentWindowId() {
    QWindow* window = QGuiApplication::focusWindow();
    if (!window && !QGuiApplication::topLevelWindows().isEmpty()) window = QGuiApplication::topLevelWindows().constFirst();
    if (!window || QGuiApplication::platformName() != QLatin1String("xcb")) return {};
    return QStringLiteral("x11:%1").arg(window->winId(), 0, 16);
}

// Where the portal will announce its answer to the request with this token.
QString requestPath(const QDBusConnection& bus, const QString& token) {
    QString sender = bus.baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

}  // namespace

FileChooser::FileChooser(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    qDBusRegisterMetaType<FilterRule>();
    qDBusRegisterMetaType<QList<FilterRule>>();
    qDBusRegisterMetaType<Filter>();
    qDBusRegisterMetaType<QList<Filter>>();
}

QString FileChooser::title(Purpose purpose) {
    switch (purpose) {
        case Purpose::AddImages:
            return QStringLiteral("Choose images or folders");
        case Purpose::AddFolders:
            return QStringLiteral("Choose folders");
        case Purpose::SaveFolder:
            return QStringLiteral("Save fitted copies");
    }
    return {};
}

QVariantMap FileChooser::portalOptions(Purpose purpose, const QString& token) {
    QVariantMap options{{QStringLiteral("handle_token"), token}, {QStringLiteral("modal"), true}};
    switch (purpose) {
        case Purpose::AddImages:
            options.insert(QStringLiteral("multiple"), true);
            options.insert(QStringLiteral("filters"), QVariant::fromValue(imageFilters()));
            break;
        case Purpose::AddFolders:
            options.insert(QStringLiteral("multiple"), true);
            options.insert(QStringLiteral("directory"), true);
            break;
        case Purpose::SaveFolder:
            options.insert(QStringLiteral("directory"), true);
            options.insert(QStringLiteral("accept_label"), QStringLiteral("Save here"));
            break;
    }
    return options;
}

void FileChooser::choose(Purpose purpose) {
    // One chooser at a time: a second request while the desktop's dialog is open is dropped.
    if (pending_) return;
    if (portalService_.isEmpty() || !QDBusConnection::sessionBus().isConnected()) {
        browse(purpose);
        return;
    }
    askPortal(purpose);
}

void FileChooser::askPortal(Purpose purpose) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString token = QStringLiteral("parcelo%1").arg(++requests_);
    // Listen before asking, so that even an instant answer is heard.
    requestPath_ = requestPath(bus, token);
    bus.connect(portalService_, requestPath_, QString::fromLatin1(kRequestInterface), QStringLiteral("Response"), this,
                SLOT(portalResponded(uint, QVariantMap)));
    pending_ = purpose;
    QDBusMessage call = QDBusMessage::createMethodCall(portalService_, QString::fromLatin1(kPortalPath),
                                                       QString::fromLatin1(kFileChooserInterface), QStringLiteral("OpenFile"));
    call << parentWindowId() << title(purpose) << portalOptions(purpose, token);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, kPortalCallTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, purpose](QDBusPendingCallWatcher* answered) {
        answered->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> reply = *answered;
        // No portal, or one without a file chooser: Qt's own dialog takes over.
        if (reply.isError() && pending_) {
            stopListening();
            browse(purpose);
        }
    });
}

void FileChooser::stopListening() {
    QDBusConnection::sessionBus().disconnect(portalService_, requestPath_, QString::fromLatin1(kRequestInterface),
                                             QStringLiteral("Response"), this, SLOT(portalResponded(uint, QVariantMap)));
    pending_.reset();
    requestPath_.clear();
}

void FileChooser::portalResponded(uint response, const QVariantMap& results) {
    if (!pending_) return;
    const Purpose purpose = *pending_;
    stopListening();
    if (response == kResponseChosen) {
        QList<QUrl> chosen;
        for (const QString& uri : results.value(QStringLiteral("uris")).toStringList())
            if (const QUrl url(uri); url.isLocalFile()) chosen.append(url);
        accept(purpose, chosen);
    } else if (response != kResponseCancelled) {
        // A portal dialog that ended without the user's choice leaves the choice to Qt's own dialog.
        browse(purpose);
    }
    emit portalAnswered();
}

void FileChooser::browse(Purpose purpose) {
    browsing_ = purpose;
    browser_.start({.title = title(purpose),
                    .showsImages = purpose == Purpose::AddImages,
                    .multiple = purpose != Purpose::SaveFolder,
                    .saves = purpose == Purpose::SaveFolder});
    emit fallbackRequested(purpose);
}

void FileChooser::acceptBrowsed() { accept(browsing_, browser_.chosen()); }

void FileChooser::accept(Purpose purpose, const QList<QUrl>& urls) {
    if (urls.isEmpty()) return;
    if (purpose == Purpose::SaveFolder)
        model_.exportTo(urls.constFirst());
    else
        model_.add(urls);
}

}  // namespace parcelo
