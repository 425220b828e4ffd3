// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace parcelo {

// The outside addresses the Help menu opens: build constants, defined here once.
inline constexpr const char* kWebsiteAddress = "https://parcelo.app";
inline constexpr const char* kHelpAddress = "https://parcelo.app/#faq";
inline constexpr const char* kSupportAddress = "mailto:support@parcelo.app?subject=Parcelo%20support";
// The application's id on the desktop: desktop entry, icon and AppStream component.
inline constexpr const char* kDesktopId = "app.parcelo.Parcelo";

// The build constants for QML, as the `AppLinks` singleton of `Parcelo.Model`.
class AppLinks : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// The product's web site.
    Q_PROPERTY(QUrl website READ website CONSTANT FINAL)
    /// The frequently-asked-questions section of the web site.
    Q_PROPERTY(QUrl help READ help CONSTANT FINAL)
    /// A new support e-mail, its subject filled in.
    Q_PROPERTY(QUrl support READ support CONSTANT FINAL)
    /// The application's version, for the About box.
    Q_PROPERTY(QString version READ version CONSTANT FINAL)

public:
    using QObject::QObject;
    [[nodiscard]] static QUrl website() { return QUrl(QString::fromLatin1(kWebsiteAddress)); }
    [[nodiscard]] static QUrl help() { return QUrl(QString::fromLatin1(kHelpAddress)); }
    [[nodiscard]] static QUrl support() { return QUrl(QString::fromLatin1(kSupportAddress)); }
    [[nodiscard]] static QString version() { return QStringLiteral(PARCELO_VERSION); }
};

}  // namespace parcelo
