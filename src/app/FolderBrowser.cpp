// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FolderBrowser.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include "ImageImport.h"

namespace parcelo {

namespace {

// A chooser first shows the user's pictures, where images usually are, or else their home.
QString firstFolder() {
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return QFileInfo(pictures).isDir() ? pictures : QDir::homePath();
}

// Inside a folder the chooser lists what the folder scan would take: the supported extensions.
bool isSupportedImage(const QFileInfo& file) {
    const std::string suffix = file.suffix().toLower().toStdString();
    return std::ranges::find(ImageImport::kExtensions, suffix) != ImageImport::kExtensions.end();
}

// "1 image", "2 images": the counts of the choice line.
QString counted(qsizetype count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}

QString quoted(const QString& name) { return QStringLiteral("“%1”").arg(name); }

}  // namespace

FolderBrowser::FolderBrowser(QObject* parent) : QAbstractListModel(parent), folder_(firstFolder()) {}

void FolderBrowser::start(const Mode& mode) {
    mode_ = mode;
    emit modeChanged();
    // A folder removed since the chooser was last shown gives way to the nearest one above it.
    QString shown = folder_;
    while (!QFileInfo(shown).isDir() && !QDir(shown).isRoot()) shown = QFileInfo(shown).path();
    read(shown);
}

void FolderBrowser::setFolder(const QUrl& folder) {
    if (!folder.isLocalFile()) return;
    read(QDir::cleanPath(folder.toLocalFile()));
}

void FolderBrowser::read(const QString& folder) {
    beginResetModel();
    entries_.clear();
    current_ = anchor_ = -1;
    const bool changed = folder != folder_;
    folder_ = folder;
    const QDir dir(folder);
    readable_ = QFileInfo(folder).isDir() && dir.isReadable();
    if (!readable_) {
        setProblem(QStringLiteral("This folder can’t be opened."));
    } else {
        setProblem({});
        // Hidden entries (names starting with ".") are left out, as the folder scan leaves them out.
        for (const QFileInfo& entry : dir.entryInfoList(QDir::AllDirs | QDir::Files | QDir::NoDotAndDotDot)) {
            if (entry.isDir())
                entries_.push_back({entry.fileName(), true});
            else if (mode_.showsImages && isSupportedImage(entry))
                entries_.push_back({entry.fileName(), false});
        }
        // Folders first, then images, each in the order of the desktop's file browser.
        std::ranges::sort(entries_, [](const Entry& a, const Entry& b) {
            if (a.isFolder != b.isFolder) return a.isFolder;
            return ImageImport::localizedStandardCompare(a.name.toStdString(), b.name.toStdString()) < 0;
        });
    }
    endResetModel();
    if (changed) emit folderChanged();
    emit selectionChanged();
}

void FolderBrowser::setProblem(const QString& problem) {
    if (problem == problem_) return;
    problem_ = problem;
    emit problemChanged();
}

QVariantList FolderBrowser::path() const {
    // Below the home folder the path starts there, as "Home"; elsewhere at the root, as "Computer".
    const QString home = QDir::homePath();
    const bool underHome = folder_ == home || folder_.startsWith(home + QLatin1Char('/'));
    QString walked = underHome ? home : QStringLiteral("/");
    QVariantList crumbs{QVariantMap{{QStringLiteral("name"), underHome ? QStringLiteral("Home") : QStringLiteral("Computer")},
                                    {QStringLiteral("folder"), QUrl::fromLocalFile(walked)}}};
    for (const QString& part : folder_.mid(walked.size()).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        walked = QDir(walked).filePath(part);
        crumbs.append(QVariantMap{{QStringLiteral("name"), part}, {QStringLiteral("folder"), QUrl::fromLocalFile(walked)}});
    }
    return crumbs;
}

bool FolderBrowser::canGoUp() const { return !QDir(folder_).isRoot(); }

void FolderBrowser::goUp() {
    if (!canGoUp()) return;
    const QString left = folder_;
    read(QFileInfo(folder_).path());
    // The folder just left is where the keyboard goes on from.
    for (int row = 0; row < static_cast<int>(entries_.size()); ++row)
        if (entryPath(row) == left) setCurrent(row);
}

QVariantList FolderBrowser::places() const {
    QVariantList places{QVariantMap{{QStringLiteral("name"), QStringLiteral("Home")},
                                    {QStringLiteral("folder"), QUrl::fromLocalFile(QDir::homePath())},
                                    {QStringLiteral("symbol"), QStringLiteral("house")}}};
    for (const auto location : {QStandardPaths::DesktopLocation, QStandardPaths::DocumentsLocation,
                                QStandardPaths::DownloadLocation, QStandardPaths::PicturesLocation}) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (folder == QDir::homePath() || !QFileInfo(folder).isDir()) continue;
        places.append(QVariantMap{{QStringLiteral("name"), QFileInfo(folder).fileName()},
                                  {QStringLiteral("folder"), QUrl::fromLocalFile(folder)},
                                  {QStringLiteral("symbol"), QStringLiteral("folder")}});
    }
    return places;
}

int FolderBrowser::selectedCount() const {
    return static_cast<int>(std::ranges::count_if(entries_, &Entry::selected));
}

QString FolderBrowser::acceptText() const {
    if (mode_.saves) return QStringLiteral("Save here");
    return selectedCount() == 0 ? QStringLiteral("Add Folder") : QStringLiteral("Add");
}

QString FolderBrowser::shownName() const {
    const QString name = QFileInfo(folder_).fileName();
    return name.isEmpty() ? folder_ : name;
}

QString FolderBrowser::choiceText() const {
    const auto selected = [this](bool folders) {
        return std::ranges::count_if(entries_, [folders](const Entry& entry) { return entry.selected && entry.isFolder == folders; });
    };
    const qsizetype folders = selected(true), images = selected(false);
    if (mode_.saves) {
        const auto picked = std::ranges::find_if(entries_, &Entry::selected);
        return QStringLiteral("Copies are saved in %1.").arg(quoted(picked != entries_.end() ? picked->name : shownName()));
    }
    if (folders + images == 0) return QStringLiteral("Adds the folder %1 with its subfolders.").arg(quoted(shownName()));
    QStringList parts;
    if (images > 0) parts.append(counted(images, "image", "images"));
    if (folders > 0) parts.append(counted(folders, "folder", "folders"));
    return parts.join(QStringLiteral(" and ")) + QStringLiteral(" selected.");
}

void FolderBrowser::click(int row, int modifiers) {
    if (row < 0 || row >= static_cast<int>(entries_.size())) {
        for (int each = 0; each < static_cast<int>(entries_.size()); ++each) setSelected(each, false);
        current_ = anchor_ = -1;
    } else if (modifiers & Qt::ShiftModifier && mode_.multiple && anchor_ >= 0) {
        selectRun(anchor_, row, (modifiers & Qt::ControlModifier) != 0);
        current_ = row;
    } else if (modifiers & Qt::ControlModifier) {
        const bool selecting = !entries_[row].selected;
        if (selecting && !mode_.multiple) selectOnly(row);
        setSelected(row, selecting);
        current_ = anchor_ = row;
    } else {
        selectOnly(row);
        current_ = anchor_ = row;
    }
    emit selectionChanged();
}

void FolderBrowser::move(int step, int modifiers) {
    const int count = static_cast<int>(entries_.size());
    if (count == 0) return;
    const int from = current_ >= 0 ? current_ : (step > 0 ? -1 : count);
    const int row = std::clamp(from + step, 0, count - 1);
    if (modifiers & Qt::ControlModifier && !(modifiers & Qt::ShiftModifier)) {
        setCurrent(row);
        return;
    }
    click(row, modifiers & Qt::ShiftModifier);
}

void FolderBrowser::toggleCurrent() {
    if (current_ >= 0) click(current_, Qt::ControlModifier);
}

void FolderBrowser::selectAll() {
    if (!mode_.multiple || entries_.empty()) return;
    selectRun(0, static_cast<int>(entries_.size()) - 1, false);
    emit selectionChanged();
}

bool FolderBrowser::activate(int row) {
    if (row < 0 || row >= static_cast<int>(entries_.size())) return false;
    if (entries_[row].isFolder) {
        read(entryPath(row));
        return false;
    }
    click(row, Qt::NoModifier);
    return true;
}

bool FolderBrowser::enter() {
    if (current_ >= 0 && entries_[current_].isFolder && entries_[current_].selected && selectedCount() == 1)
        return activate(current_);
    return true;
}

bool FolderBrowser::makeFolder(const QString& name) {
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty() || trimmed == QLatin1String(".") || trimmed == QLatin1String("..") || trimmed.contains(QLatin1Char('/'))) {
        setProblem(QStringLiteral("Choose a folder name without “/”."));
        return false;
    }
    const QString made = QDir(folder_).filePath(trimmed);
    std::error_code error;
    if (QFileInfo::exists(made) || !std::filesystem::create_directory(QFile::encodeName(made).toStdString(), error)) {
        setProblem(error ? QStringLiteral("Couldn’t make the folder: %1").arg(QString::fromStdString(error.message()))
                         : QStringLiteral("%1 already exists here.").arg(quoted(trimmed)));
        return false;
    }
    read(folder_);
    for (int row = 0; row < static_cast<int>(entries_.size()); ++row)
        if (entries_[row].isFolder && entries_[row].name == trimmed) click(row, Qt::NoModifier);
    return true;
}

QList<QUrl> FolderBrowser::chosen() const {
    // A link chosen here stands for what it points to, as the desktop's choosers return it: the
    // folder scan never follows links, so the link itself would add nothing.
    const auto target = [](const QString& path) {
        const QFileInfo info(path);
        return QUrl::fromLocalFile(info.isSymLink() ? info.canonicalFilePath() : path);
    };
    QList<QUrl> chosen;
    for (int row = 0; row < static_cast<int>(entries_.size()); ++row)
        if (entries_[row].selected) chosen.append(target(entryPath(row)));
    if (chosen.isEmpty() && readable_) chosen.append(target(folder_));
    return chosen;
}

void FolderBrowser::selectOnly(int row) {
    for (int each = 0; each < static_cast<int>(entries_.size()); ++each) setSelected(each, each == row);
}

void FolderBrowser::selectRun(int from, int to, bool keep) {
    const auto [low, high] = std::minmax(from, to);
    for (int each = 0; each < static_cast<int>(entries_.size()); ++each)
        if (!keep || (each >= low && each <= high)) setSelected(each, each >= low && each <= high);
}

void FolderBrowser::setSelected(int row, bool selected) {
    if (entries_[row].selected == selected) return;
    entries_[row].selected = selected;
    const QModelIndex changed = index(row);
    emit dataChanged(changed, changed, {SelectedRole});
}

void FolderBrowser::setCurrent(int row) {
    current_ = row;
    emit selectionChanged();
}

QString FolderBrowser::entryPath(int row) const { return QDir(folder_).filePath(entries_[row].name); }

int FolderBrowser::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

QVariant FolderBrowser::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= static_cast<int>(entries_.size())) return {};
    const Entry& entry = entries_[index.row()];
    switch (role) {
        case NameRole:
            return entry.name;
        case IsFolderRole:
            return entry.isFolder;
        case SelectedRole:
            return entry.selected;
        case LocationRole:
            return QUrl::fromLocalFile(entryPath(index.row()));
        default:
            return {};
    }
}

QHash<int, QByteArray> FolderBrowser::roleNames() const {
    return {{NameRole, "name"}, {IsFolderRole, "isFolder"}, {SelectedRole, "selected"}, {LocationRole, "location"}};
}

}  // namespace parcelo
