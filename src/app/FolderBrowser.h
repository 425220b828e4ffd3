// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <vector>

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace parcelo {

// Parcelo's own file chooser, for sessions where the desktop offers none: one folder's subfolders
// and supported images, the path above it and a few places, and the user's selection with its
// Ctrl/Shift and keyboard rules. What the chooser returns, and what its button says, is decided
// here; the dialog binds to it. Runs on the main thread.
class FolderBrowser : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The file chooser's browser is FileChooser.browser")

    // The folder shown.
    Q_PROPERTY(QUrl folder READ folder WRITE setFolder NOTIFY folderChanged FINAL)
    // The folders from the top down to the one shown, as {name, folder} maps for a path bar.
    Q_PROPERTY(QVariantList path READ path NOTIFY folderChanged FINAL)
    // The folder shown has a folder above it.
    Q_PROPERTY(bool canGoUp READ canGoUp NOTIFY folderChanged FINAL)
    // The user's usual folders that exist here, as {name, folder, symbol} maps.
    Q_PROPERTY(QVariantList places READ places CONSTANT FINAL)
    // What the chooser is for: its title, whether images are listed and several entries can be
    // chosen, and whether it saves (and may make a new folder).
    Q_PROPERTY(QString title READ title NOTIFY modeChanged FINAL)
    Q_PROPERTY(bool showsImages READ showsImages NOTIFY modeChanged FINAL)
    Q_PROPERTY(bool multiple READ multiple NOTIFY modeChanged FINAL)
    Q_PROPERTY(bool canMakeFolder READ canMakeFolder NOTIFY modeChanged FINAL)
    // The entry the keyboard is on; -1 for none.
    Q_PROPERTY(int current READ current NOTIFY selectionChanged FINAL)
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectionChanged FINAL)
    // The confirm button's text, and the line that says what it will do.
    Q_PROPERTY(QString acceptText READ acceptText NOTIFY selectionChanged FINAL)
    Q_PROPERTY(QString choiceText READ choiceText NOTIFY selectionChanged FINAL)
    // There is something to return: the folder shown can be read, or entries are selected.
    Q_PROPERTY(bool canAccept READ canAccept NOTIFY selectionChanged FINAL)
    // Why the folder can't be shown or a folder can't be made; empty when all is well.
    Q_PROPERTY(QString problem READ problem NOTIFY problemChanged FINAL)

public:
    enum Role { NameRole = Qt::UserRole + 1, IsFolderRole, SelectedRole, LocationRole };
    Q_ENUM(Role)

    // What one chooser is for.
    struct Mode {
        QString title;
        bool showsImages = false;
        bool multiple = false;
        bool saves = false;
    };

    explicit FolderBrowser(QObject* parent = nullptr);

    // Gets ready to be shown for `mode`: the folder shown last time, read again, nothing selected.
    void start(const Mode& mode);

    [[nodiscard]] QUrl folder() const { return QUrl::fromLocalFile(folder_); }
    void setFolder(const QUrl& folder);
    [[nodiscard]] QVariantList path() const;
    [[nodiscard]] bool canGoUp() const;
    [[nodiscard]] QVariantList places() const;
    [[nodiscard]] QString title() const { return mode_.title; }
    [[nodiscard]] bool showsImages() const { return mode_.showsImages; }
    [[nodiscard]] bool multiple() const { return mode_.multiple; }
    [[nodiscard]] bool canMakeFolder() const { return mode_.saves; }
    [[nodiscard]] int current() const { return current_; }
    [[nodiscard]] int selectedCount() const;
    [[nodiscard]] QString acceptText() const;
    [[nodiscard]] QString choiceText() const;
    [[nodiscard]] QString problem() const { return problem_; }
    [[nodiscard]] bool canAccept() const { return !chosen().isEmpty(); }

    // A click on an entry with these modifiers (Qt::KeyboardModifiers): alone selects it, Ctrl
    // adds or removes it, Shift selects the run from the last entry clicked. A click beside the
    // entries (row -1) selects nothing.
    Q_INVOKABLE void click(int row, int modifiers);
    // An arrow key: moves the current entry by `step` (clamped to the list) and selects as a click
    // with the same modifiers would, except that Ctrl moves without selecting.
    Q_INVOKABLE void move(int step, int modifiers);
    // Space: adds or removes the current entry.
    Q_INVOKABLE void toggleCurrent();
    Q_INVOKABLE void selectAll();
    // A double click: a folder is opened; an image is chosen alone, and true says "confirm now".
    Q_INVOKABLE bool activate(int row);
    // Return: opens the current folder when it is all that is selected (false); otherwise the
    // choice stands and true says "confirm now".
    Q_INVOKABLE bool enter();
    Q_INVOKABLE void goUp();
    // Makes a folder with this name in the one shown and selects it; false, with `problem` set,
    // when the name is not allowed or the folder can't be made.
    Q_INVOKABLE bool makeFolder(const QString& name);
    // What the confirm button returns: the selected entries in list order, or the folder shown
    // when nothing is selected.
    [[nodiscard]] Q_INVOKABLE QList<QUrl> chosen() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void folderChanged();
    void modeChanged();
    void selectionChanged();
    void problemChanged();

private:
    struct Entry {
        QString name;
        bool isFolder = false;
        bool selected = false;
    };

    void read(const QString& folder);
    void setProblem(const QString& problem);
    void selectOnly(int row);
    void selectRun(int from, int to, bool keep);
    void setSelected(int row, bool selected);
    void setCurrent(int row);
    [[nodiscard]] QString entryPath(int row) const;
    [[nodiscard]] QString shownName() const;

    Mode mode_;
    QString folder_;
    std::vector<Entry> entries_;
    int current_ = -1;
    // Where a Shift-click's run starts: the last entry clicked alone or with Ctrl.
    int anchor_ = -1;
    // The folder shown could be listed; one that can't is never returned.
    bool readable_ = false;
    QString problem_;
};

}  // namespace parcelo
