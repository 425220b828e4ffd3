// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "AppEngine.h"

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QIcon>
#include <QJSEngine>
#include <QPainter>
#include <QQuickImageProvider>
#include <QQuickStyle>
#include <QStandardPaths>

#include "FileChooser.h"
#include "PreviewLoader.h"

namespace parcelo {

namespace {

constexpr const char* kModelProperty = "parceloAppModel";
constexpr const char* kChooserProperty = "parceloFileChooser";

// The object prepareEngine() stored on the engine under `name`, owned by C++ and not by QML.
template <typename T>
T* objectOfEngine(QQmlEngine* engine, const char* name) {
    auto* object = qobject_cast<T*>(engine->property(name).value<QObject*>());
    if (object) QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
    return object;
}

// Serves "image://symbol/<colour as hex digits>/<Breeze icon name>": the icon of the Breeze
// theme drawn at the requested size in one colour, which is how the views tint their symbols.
class SymbolImageProvider : public QQuickImageProvider {
public:
    SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override {
        constexpr int kDefaultSize = 16;
        const qsizetype slash = id.indexOf(QLatin1Char('/'));
        const QColor color(QLatin1Char('#') + id.left(slash));
        const QString iconName = id.mid(slash + 1);
        const QSize wanted(requestedSize.width() > 0 ? requestedSize.width() : kDefaultSize,
                           requestedSize.height() > 0 ? requestedSize.height() : kDefaultSize);
        QImage image = QIcon::fromTheme(iconName).pixmap(wanted).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
        if (image.isNull()) {
            qWarning("no Breeze icon named %s", qPrintable(iconName));
            image = QImage(wanted, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
        }
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
        painter.end();
        if (size) *size = image.size();
        return image;
    }
};

}  // namespace

void applyApplicationLook() {
    QFont font(QStringLiteral("Inter"));
    if (!QFontDatabase::hasFamily(font.family())) qWarning("the Inter font is not installed; texts use the desktop's font");
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("sans-serif")});
    // Inter's contextual alternates draw the "x" of "5120x2880" as a multiplication sign, and Qt 6.4
    // cannot switch one OpenType feature off. Texts that can show file names (rows, paths, hover
    // help, messages, the file dialogs) must show their real characters, so Latin text is drawn
    // glyph for glyph from the font's character map; scripts that need shaping are still shaped.
    font.setStyleStrategy(QFont::PreferNoShaping);
    QGuiApplication::setFont(font);
    // One Qt Quick Controls style for every control, menu, tooltip and dialog: Basic draws with
    // its own light palette, which the window then tints with Parcelo's colours, never with the
    // desktop's (a dark desktop palette would turn Fusion's menus dark).
    // Chosen once, before the first view: choosing again after that only earns a warning.
    if (QQuickStyle::name() != QLatin1String("Basic")) QQuickStyle::setStyle(QStringLiteral("Basic"));
    // Only desktop platforms list the system's icon folders themselves; offscreen lists none.
    QStringList iconFolders = QIcon::themeSearchPaths();
    for (const QString& folder : QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("icons"),
                                                           QStandardPaths::LocateDirectory))
        if (!iconFolders.contains(folder)) iconFolders.append(folder);
    QIcon::setThemeSearchPaths(iconFolders);
    QIcon::setThemeName(QStringLiteral("breeze"));
}

// The singletons are registered once per process; each engine answers with its own model and
// chooser, so tests can load views over a fresh model without the objects of earlier engines.
AppModel* AppModel::create(QQmlEngine* engine, QJSEngine*) { return objectOfEngine<AppModel>(engine, kModelProperty); }

FileChooser* FileChooser::create(QQmlEngine* engine, QJSEngine*) {
    return objectOfEngine<FileChooser>(engine, kChooserProperty);
}

void prepareEngine(QQmlEngine& engine, AppModel& model) {
    engine.setProperty(kModelProperty, QVariant::fromValue<QObject*>(&model));
    // The model asks for choosers; the engine's chooser shows the desktop's or asks the views for Parcelo's own.
    auto* chooser = new FileChooser(model, &engine);
    QObject::connect(&model, &AppModel::chooseFilesRequested, chooser, [chooser] { chooser->choose(FileChooser::Purpose::AddImages); });
    QObject::connect(&model, &AppModel::chooseFoldersRequested, chooser, [chooser] { chooser->choose(FileChooser::Purpose::AddFolders); });
    QObject::connect(&model, &AppModel::exportFolderRequested, chooser, [chooser] { chooser->choose(FileChooser::Purpose::SaveFolder); });
    engine.setProperty(kChooserProperty, QVariant::fromValue<QObject*>(chooser));
    engine.addImageProvider(QStringLiteral("thumbnails"), model.makeThumbnailProvider());
    engine.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
    engine.addImageProvider(QStringLiteral("previews"), new ImageStoreProvider);
    // Qt 6.4 has no default import path for modules built into the resources.
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

}  // namespace parcelo
