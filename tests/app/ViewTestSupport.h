#pragma once

#include <memory>

#include <QDir>
#include <QMimeData>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

#include "AppEngine.h"
#include "AppTestSupport.h"

// Every view uses the style kit; a test program imports the views' own module itself.
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)

namespace parcelo::test {

// One of Parcelo's views loaded over a real model, shown offscreen, for a test to drive as a user
// would: find controls by objectName, click them, type into them, and photograph the window.
// A view whose root is an item is placed in a window of its own implicit size (or `size`).
class ViewHarness {
public:
    explicit ViewHarness(AppModel& model, const QString& qmlFile = QStringLiteral("Main.qml"),
                         const QVariantMap& properties = {}, QSize size = {}) {
        prepare(model);
        QQmlComponent component(&engine_, QUrl(kViewsFolder + qmlFile));
        create(component, properties, size);
    }
    // A small scene written by the test itself, for pieces that are not views of their own.
    struct QmlText {
        QByteArray source;
    };
    ViewHarness(AppModel& model, const QmlText& qml, const QVariantMap& properties = {}, QSize size = {}) {
        prepare(model);
        QQmlComponent component(&engine_);
        component.setData(qml.source, QUrl(kViewsFolder + QStringLiteral("TestScene.qml")));
        create(component, properties, size);
    }

    ~ViewHarness() {
        // The loaded view goes before the window that holds it, and both before the engine.
        object_.reset();
        ownedWindow_.reset();
    }
    ViewHarness(const ViewHarness&) = delete;
    ViewHarness& operator=(const ViewHarness&) = delete;

    // Load errors and QML warnings so far, one per line; empty when there were none.
    [[nodiscard]] QString errors() const { return errors_.join(QLatin1Char('\n')); }
    [[nodiscard]] bool loaded() const { return window_ != nullptr; }
    [[nodiscard]] QQuickWindow* window() const { return window_; }
    [[nodiscard]] QQmlEngine& engine() { return engine_; }
    [[nodiscard]] QObject* root() const { return object_.get(); }

    // The control with this objectName, or null.
    // Items made by a Repeater or a ListView, and the contents of popups, are found too.
    template <typename T = QQuickItem>
    [[nodiscard]] T* find(const QString& objectName) const {
        if (!window_) return nullptr;
        if (auto* found = window_->contentItem()->findChild<T*>(objectName)) return found;
        if (auto* found = object_ ? object_->findChild<T*>(objectName) : nullptr) return found;
        QQuickItem* top = window_->contentItem();
        while (top->parentItem()) top = top->parentItem();
        return findItem<T>(top, objectName);
    }

    // Lays the window out as its next frame will, so that sizes and places read as drawn.
    void settle() const {
        if (QQuickTest::qIsPolishScheduled(window_)) QVERIFY(QQuickTest::qWaitForPolish(window_));
    }

    // A left click in the middle of the item, through the window as a mouse would.
    void click(QQuickItem* item) const {
        QVERIFY2(item, "no item to click");
        settle();
        QVERIFY2(item->isVisible(), qPrintable(item->objectName() + QStringLiteral(" is not visible")));
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(window_, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    }

    // Replaces a text field's text by typing, key by key.
    void type(QQuickItem* field, const QString& text) const {
        QVERIFY2(field, "no field to type into");
        field->forceActiveFocus(Qt::MouseFocusReason);
        QVERIFY(QMetaObject::invokeMethod(field, "selectAll"));
        QTest::keyClick(window_, Qt::Key_Backspace);
        for (const QChar character : text) {
            if (character.unicode() < 0x80)
                QTest::keyClick(window_, character.toLatin1());
            else
                QTest::sendKeyEvent(QTest::Click, window_, Qt::Key_unknown, QString(character), Qt::NoModifier);
        }
    }

    // What the window shows now.
    [[nodiscard]] QImage grab() const { return window_->grabWindow(); }

    // Drags the locations over the window and drops them at its centre, as a file manager would;
    // whether the window accepted the drop. hovering() runs while the drag is over the window.
    bool drop(const QList<QUrl>& urls, const std::function<void()>& hovering = {}) const {
        QMimeData data;
        data.setUrls(urls);
        const QPoint centre(window_->width() / 2, window_->height() / 2);
        QDragEnterEvent enter(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window_, &enter);
        QDragMoveEvent move(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window_, &move);
        if (hovering) hovering();
        QDropEvent drop(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window_, &drop);
        return drop.isAccepted();
    }

    // Presses the mouse in the middle of the item, moves it by delta in small steps, and lets go.
    void drag(QQuickItem* item, QPointF delta) const {
        QVERIFY2(item, "no item to drag");
        settle();
        const QPointF start = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mousePress(window_, Qt::LeftButton, Qt::NoModifier, start.toPoint());
        constexpr int kSteps = 20;
        for (int step = 1; step <= kSteps; ++step)
            QTest::mouseMove(window_, (start + delta * step / kSteps).toPoint());
        QTest::mouseRelease(window_, Qt::LeftButton, Qt::NoModifier, (start + delta).toPoint());
    }

    // Writes the window as a PNG into the build's screenshot folder, for people to look at.
    QString screenshot(const QString& name) const {
        QDir().mkpath(QStringLiteral(PARCELO_SCREENSHOT_DIR));
        const QString path = QStringLiteral(PARCELO_SCREENSHOT_DIR "/%1.png").arg(name);
        settle();
        const QImage image = window_->grabWindow();
        if (image.isNull() || !image.save(path)) qWarning("could not write screenshot %s", qPrintable(path));
        return path;
    }

private:
    template <typename T>
    static T* findItem(QQuickItem* item, const QString& objectName) {
        for (QQuickItem* child : item->childItems()) {
            if (auto* match = qobject_cast<T*>(child); match && child->objectName() == objectName) return match;
            if (auto* found = child->findChild<T*>(objectName)) return found;
            if (auto* found = findItem<T>(child, objectName)) return found;
        }
        return nullptr;
    }
    void prepare(AppModel& model) {
        QObject::connect(&engine_, &QQmlEngine::warnings, [this](const QList<QQmlError>& warnings) {
            for (const auto& warning : warnings) errors_.append(warning.toString());
        });
        applyApplicationLook();
        prepareEngine(engine_, model);
    }
    void create(QQmlComponent& component, const QVariantMap& properties, QSize size) {
        if (component.isError()) {
            errors_.append(component.errorString());
            return;
        }
        object_.reset(component.createWithInitialProperties(properties));
        if (!object_) {
            errors_.append(component.errorString());
            return;
        }
        show(size);
    }
    void show(QSize size) {
        window_ = qobject_cast<QQuickWindow*>(object_.get());
        if (!window_) {
            auto* item = qobject_cast<QQuickItem*>(object_.get());
            if (!item) {
                errors_.append(QStringLiteral("the view is neither a window nor an item"));
                return;
            }
            ownedWindow_ = std::make_unique<QQuickWindow>();
            window_ = ownedWindow_.get();
            item->setParentItem(window_->contentItem());
            if (size.isEmpty()) size = QSize(qCeil(item->implicitWidth()), qCeil(item->implicitHeight()));
            window_->resize(size);
            item->setSize(size);
        } else if (!size.isEmpty()) {
            window_->resize(size);
        }
        window_->show();
        if (!QTest::qWaitForWindowExposed(window_)) errors_.append(QStringLiteral("the window was never shown"));
    }

    QQmlEngine engine_;
    QStringList errors_;
    std::unique_ptr<QObject> object_;
    std::unique_ptr<QQuickWindow> ownedWindow_;
    QQuickWindow* window_ = nullptr;
};

}  // namespace parcelo::test
