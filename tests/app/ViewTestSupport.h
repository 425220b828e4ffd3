// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <memory>

#include <QDir>
#include <QMimeData>
#include <QRegularExpression>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest/quicktest.h>

#include "AppEngine.h"
#include "AppTestSupport.h"

// Every view uses the style kit and the model's types; a test program imports the views' own
// module itself.
Q_IMPORT_QML_PLUGIN(Parcelo_StylePlugin)
Q_IMPORT_QML_PLUGIN(Parcelo_ModelPlugin)

namespace parcelo::test {

// One of Parcelo's views loaded over a real model, shown offscreen, for a test to drive as a user
// would: find controls by objectName, click them, type into them, and photograph the window.
// A view whose root is an item is placed in a window of its own implicit size. Every warning
// printed from then on in the test, from QML, Qt or a library, is an error of the view and fails it.
class ViewHarness {
public:
    explicit ViewHarness(AppModel& model, const QString& qmlFile = QStringLiteral("Main.qml")) {
        // The test framework's check takes warnings only: a critical message is passed on as one.
        previous_ = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            previous_(type == QtCriticalMsg ? QtWarningMsg : type, context, text);
        });
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        applyApplicationLook();
        prepareEngine(engine_, model);
        QQmlComponent component(&engine_, QUrl(kViewsFolder + qmlFile));
        create(component);
    }
    ~ViewHarness() {
        // The loaded view goes before the window that holds it, and both before the engine.
        object_.reset();
        ownedWindow_.reset();
        qInstallMessageHandler(previous_);
    }
    ViewHarness(const ViewHarness&) = delete;
    ViewHarness& operator=(const ViewHarness&) = delete;

    // Why the view could not be loaded and shown; empty when it was.
    [[nodiscard]] const QString& loadError() const { return error_; }
    [[nodiscard]] bool loaded() const { return error_.isEmpty(); }
    [[nodiscard]] QQuickWindow* window() const { return window_; }

    // The control with this objectName, or null.
    // Items made by a Repeater or a ListView, and the contents of popups, are found too.
    template <typename T = QQuickItem>
    [[nodiscard]] T* find(const QString& objectName) const {
        if (!window_) return nullptr;
        if (auto* found = object_->findChild<T*>(objectName)) return found;
        QQuickItem* top = window_->contentItem();
        while (top->parentItem()) top = top->parentItem();
        return findItem<T>(top, objectName);
    }

    // A property of the named item, popup or action; invalid when there is no such object.
    [[nodiscard]] QVariant property(const QString& objectName, const char* name) const {
        auto* object = find<QObject>(objectName);
        return object ? object->property(name) : QVariant();
    }
    [[nodiscard]] QString text(const QString& objectName) const { return property(objectName, "text").toString(); }
    [[nodiscard]] bool visible(const QString& objectName) const { return property(objectName, "visible").toBool(); }
    [[nodiscard]] bool enabled(const QString& objectName) const { return property(objectName, "enabled").toBool(); }

    // Lays the window out as its next frame will, so that sizes and places read as drawn.
    void settle() const {
        if (QQuickTest::qIsPolishScheduled(window_)) QVERIFY(QQuickTest::qWaitForPolish(window_));
    }

    // Gives the window the keyboard, as a click on it would, and waits until it has it: shortcuts
    // reach only the window that has the keyboard, and a loaded machine may take a while.
    void activate() const {
        if (QGuiApplication::focusWindow() == window_) return;
        QSignalSpy activated(qApp, &QGuiApplication::focusWindowChanged);
        window_->requestActivate();
        while (QGuiApplication::focusWindow() != window_) QVERIFY(activated.wait(60'000));
    }

    // A left click in the middle of the item, through the window as a mouse would.
    void click(QQuickItem* item) const {
        QVERIFY2(item, "no item to click");
        settle();
        QVERIFY2(item->isVisible(), qPrintable(item->objectName() + QStringLiteral(" is not visible")));
        const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
        QTest::mouseClick(window_, Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    }

    // Replaces a text field's text by typing it, key by key (ASCII only).
    void type(QQuickItem* field, const QString& text) const {
        QVERIFY2(field, "no field to type into");
        field->forceActiveFocus(Qt::MouseFocusReason);
        QVERIFY(QMetaObject::invokeMethod(field, "selectAll"));
        QTest::keyClick(window_, Qt::Key_Backspace);
        for (const QChar character : text) QTest::keyClick(window_, character.toLatin1());
    }

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
    void create(QQmlComponent& component) {
        object_.reset(component.create());
        window_ = qobject_cast<QQuickWindow*>(object_.get());
        if (auto* item = qobject_cast<QQuickItem*>(object_.get())) {
            ownedWindow_ = std::make_unique<QQuickWindow>();
            window_ = ownedWindow_.get();
            item->setParentItem(window_->contentItem());
            item->setSize(QSizeF(qCeil(item->implicitWidth()), qCeil(item->implicitHeight())));
            window_->resize(item->size().toSize());
        }
        if (!window_) {
            error_ = QStringLiteral("no window or item: ") + component.errorString();
            return;
        }
        window_->show();
        if (!QTest::qWaitForWindowExposed(window_)) error_ = QStringLiteral("the window was never shown");
    }

    static inline QtMessageHandler previous_ = nullptr;
    QQmlEngine engine_;
    QString error_;
    std::unique_ptr<QObject> object_;
    std::unique_ptr<QQuickWindow> ownedWindow_;
    QQuickWindow* window_ = nullptr;
};

}  // namespace parcelo::test
