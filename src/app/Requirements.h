// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <optional>
#include <vector>

#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include "FitSettings.h"
#include "UploadRecipe.h"

namespace parcelo {

// The side the exact-size fields start with, and the crop editor's side for a text that is no integer.
inline constexpr qint64 kDefaultExactSide = 600;

// The requirements of the batch as the user edits them, the FitSettings they stand for, what the
// sidebar says about them, their persistence, and the recipe library. Every rule about what may
// be typed, stored or saved lives here; the views bind to the answers. Setting a requirement
// re-applies the requirements at once; when that replaces the settings the batch was made under,
// `settingsReplaced` tells the batch to discard its copies.
class Requirements : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("AppModel owns the requirements")

    /// Size limit per image in kilobytes of 1,000 bytes; setting it also writes customKB.
    Q_PROPERTY(int targetKB READ targetKB WRITE setTargetKB NOTIFY targetKBChanged FINAL)
    /// Text of the custom size field; setting it sets targetKB to the integer it stands for, else 0.
    Q_PROPERTY(QString customKB READ customKB WRITE setCustomKB NOTIFY customKBChanged FINAL)
    /// Largest longer edge in size mode; 0 for the original size.
    Q_PROPERTY(int maxEdge READ maxEdge WRITE setMaxEdge NOTIFY maxEdgeChanged FINAL)
    /// "auto", "jpeg" or "png".
    Q_PROPERTY(QString outputFormat READ outputFormatText WRITE setOutputFormatText NOTIFY outputFormatChanged FINAL)
    /// Exact-dimension mode.
    Q_PROPERTY(bool exactPixels READ exactPixels WRITE setExactPixels NOTIFY exactPixelsChanged FINAL)
    /// Text of the exact-width field, as typed.
    Q_PROPERTY(QString pixelWidth READ pixelWidth WRITE setPixelWidth NOTIFY pixelWidthChanged FINAL)
    /// Text of the exact-height field, as typed.
    Q_PROPERTY(QString pixelHeight READ pixelHeight WRITE setPixelHeight NOTIFY pixelHeightChanged FINAL)
    /// Text of the "at least" field in kilobytes; empty for no smallest size.
    Q_PROPERTY(QString minimumKB READ minimumKB WRITE setMinimumKB NOTIFY minimumKBChanged FINAL)
    /// Text of the resolution field in dots per inch; empty for none written into the copies.
    Q_PROPERTY(QString resolutionDpi READ resolutionDpi WRITE setResolutionDpi NOTIFY resolutionDpiChanged FINAL)
    /// Name of the recipe in force; empty when the requirements were edited by hand.
    Q_PROPERTY(QString activeRecipeName READ activeRecipeNameText NOTIFY activeRecipeNameChanged FINAL)
    /// The user's recipes: maps of id, name and matches (its settings are the current ones).
    Q_PROPERTY(QVariantList recipes READ recipesForView NOTIFY recipesChanged FINAL)
    /// The three built-in examples, in the same form.
    Q_PROPERTY(QVariantList exampleRecipes READ exampleRecipesForView NOTIFY changed FINAL)
    /// The size presets: maps of kilobytes and label ("200 KB", "1 MB").
    Q_PROPERTY(QVariantList sizePresets READ sizePresets CONSTANT FINAL)
    /// The edge choices: maps of edge and label ("Original · up to 8192 px", "2560 px").
    Q_PROPERTY(QVariantList edgeChoices READ edgeChoices CONSTANT FINAL)
    /// What screen readers say of the custom limit field and of the edge button, from the bounds.
    Q_PROPERTY(QString sizeRangeDescription READ sizeRangeDescription CONSTANT FINAL)
    Q_PROPERTY(QString edgeDescription READ edgeDescription NOTIFY maxEdgeChanged FINAL)
    /// What screen readers say of the "at least" and resolution fields, from the bounds.
    Q_PROPERTY(QString minimumDescription READ minimumDescription CONSTANT FINAL)
    Q_PROPERTY(QString resolutionDescription READ resolutionDescription CONSTANT FINAL)
    /// One line: "≤ 1 MB · Up to 2560 px · Auto format".
    Q_PROPERTY(QString summary READ summary NOTIFY changed FINAL)
    /// The note under the size limit, and whether it warns (red) rather than informs.
    Q_PROPERTY(QString sizeNote READ sizeNote NOTIFY changed FINAL)
    Q_PROPERTY(bool sizeNoteWarns READ sizeNoteWarns NOTIFY changed FINAL)
    /// The note under the dimensions, and whether it warns.
    Q_PROPERTY(QString dimensionsNote READ dimensionsNote NOTIFY changed FINAL)
    Q_PROPERTY(bool dimensionsNoteWarns READ dimensionsNoteWarns NOTIFY changed FINAL)
    /// What the chosen output format means, or what resolutions are allowed, and whether it warns.
    Q_PROPERTY(QString formatNote READ formatNote NOTIFY changed FINAL)
    Q_PROPERTY(bool formatNoteWarns READ formatNoteWarns NOTIFY changed FINAL)
    /// The exact size the crop editor frames: each side as typed, 600 for a side that is no integer.
    Q_PROPERTY(int cropWidth READ cropWidth NOTIFY changed FINAL)
    Q_PROPERTY(int cropHeight READ cropHeight NOTIFY changed FINAL)
    /// Exact mode with valid sides: each image has a crop to adjust.
    Q_PROPERTY(bool exactCropping READ exactCropping NOTIFY changed FINAL)
    /// The requirements may be saved as a recipe now (a name still has to be given).
    Q_PROPERTY(bool canSaveRecipe READ canSaveRecipe NOTIFY canSaveRecipeChanged FINAL)

public:
    // Restores the recipes and the last requirements from the preferences store.
    explicit Requirements(QSettings* preferences, QObject* parent = nullptr);

    // The numbers the views read are ints, the integers Qt 6.4's QML tools know; a typed number
    // past an int's range reads as its nearest end, as far out of bounds as the text.
    [[nodiscard]] int targetKB() const;
    void setTargetKB(qint64 kilobytes);
    [[nodiscard]] QString customKB() const { return customKB_; }
    void setCustomKB(const QString& text);
    [[nodiscard]] int maxEdge() const;
    void setMaxEdge(qint64 edge);
    [[nodiscard]] OutputFormat outputFormat() const { return outputFormat_; }
    void setOutputFormat(OutputFormat format);
    [[nodiscard]] QString outputFormatText() const;
    void setOutputFormatText(const QString& raw);
    [[nodiscard]] bool exactPixels() const { return exactPixels_; }
    void setExactPixels(bool exact);
    [[nodiscard]] QString pixelWidth() const { return pixelWidth_; }
    void setPixelWidth(const QString& text);
    [[nodiscard]] QString pixelHeight() const { return pixelHeight_; }
    void setPixelHeight(const QString& text);
    [[nodiscard]] QString minimumKB() const { return minimumKB_; }
    void setMinimumKB(const QString& text);
    [[nodiscard]] QString resolutionDpi() const { return resolutionDpi_; }
    void setResolutionDpi(const QString& text);
    [[nodiscard]] std::optional<QString> activeRecipeName() const { return activeRecipeName_; }
    [[nodiscard]] QString activeRecipeNameText() const { return activeRecipeName_.value_or(QString()); }
    [[nodiscard]] const std::vector<UploadRecipe>& recipes() const { return recipes_; }
    [[nodiscard]] QVariantList recipesForView() const;
    [[nodiscard]] QVariantList exampleRecipesForView() const;
    [[nodiscard]] static QVariantList sizePresets();
    [[nodiscard]] static QVariantList edgeChoices();
    [[nodiscard]] static QString sizeRangeDescription();
    [[nodiscard]] QString edgeDescription() const;
    [[nodiscard]] static QString minimumDescription();
    [[nodiscard]] static QString resolutionDescription();

    // The FitSettings of the current properties, valid or not.
    [[nodiscard]] FitSettings fitSettings() const;
    // Valid settings that a run can fit to: valid, and not exact mode with both sides 0.
    [[nodiscard]] bool usable() const;
    [[nodiscard]] bool exactCropping() const;
    [[nodiscard]] QString summary() const;
    [[nodiscard]] QString sizeNote() const;
    [[nodiscard]] bool sizeNoteWarns() const;
    [[nodiscard]] QString dimensionsNote() const;
    [[nodiscard]] bool dimensionsNoteWarns() const;
    [[nodiscard]] QString formatNote() const;
    [[nodiscard]] bool formatNoteWarns() const;
    [[nodiscard]] int cropWidth() const;
    [[nodiscard]] int cropHeight() const;
    [[nodiscard]] bool canSaveRecipe() const { return editable_ && usable(); }

    // Whether the requirements may change the batch now; while not, edits stay in the fields
    // unstored, and recipes are neither applied nor saved. The batch sets it.
    [[nodiscard]] bool editable() const { return editable_; }
    void setEditable(bool editable);
    // The requirements the batch was made under.
    [[nodiscard]] FitSettings appliedSettings() const { return appliedSettings_; }
    // A fit run starts under the current requirements.
    void setAppliedSettings(const FitSettings& settings) { appliedSettings_ = settings; }

    // Takes an edit: drops the recipe name when the settings really changed, stores the
    // requirements, and replaces the applied settings. Every setter calls it.
    void settingsChanged();

    // Whether a typed recipe name has anything but white space.
    Q_INVOKABLE static bool isRecipeName(const QString& name);
    Q_INVOKABLE bool saveRecipe(const QString& name);
    void applyRecipe(const UploadRecipe& recipe);
    Q_INVOKABLE void applyRecipe(const QString& id);
    void deleteRecipe(const Uuid& id);
    Q_INVOKABLE void deleteRecipe(const QString& id);

signals:
    void targetKBChanged();
    void customKBChanged();
    void maxEdgeChanged();
    void outputFormatChanged();
    void exactPixelsChanged();
    void pixelWidthChanged();
    void pixelHeightChanged();
    void minimumKBChanged();
    void resolutionDpiChanged();
    void activeRecipeNameChanged();
    void recipesChanged();
    void canSaveRecipeChanged();
    // Any requirement field changed; every derived value follows it.
    void changed();
    // An accepted edit replaced the settings the batch was made under.
    void settingsReplaced();

private:
    // Sets a requirement field, announces it, and re-applies unless a recipe is being applied.
    // While a run or a save works with the applied requirements nothing changes: an edit then
    // would leave copies ready that the new requirements don't describe.
    template <typename T>
    void edit(T& field, T value, void (Requirements::*fieldChanged)()) {
        if (!editable_) return;
        field = std::move(value);
        emit(this->*fieldChanged)();
        emit changed();
        emit canSaveRecipeChanged();
        if (!applyingRecipe_) settingsChanged();
    }
    void setActiveRecipeName(std::optional<QString> name);
    [[nodiscard]] bool exactWithoutSides() const;
    void restoreRecipes();
    void restoreRequirements();
    void persistSettings();
    void persistRecipes();

    QSettings* defaults_;
    qint64 targetKB_ = kDefaultSettings.targetBytes / kBytesPerKB;
    QString customKB_ = QString::number(targetKB_);
    qint64 maxEdge_ = kDefaultSettings.maxEdge;
    OutputFormat outputFormat_ = kDefaultSettings.outputFormat;
    bool exactPixels_ = false;
    QString pixelWidth_ = QString::number(kDefaultExactSide);
    QString pixelHeight_ = QString::number(kDefaultExactSide);
    QString minimumKB_;
    QString resolutionDpi_;
    std::optional<QString> activeRecipeName_;
    std::vector<UploadRecipe> recipes_;
    FitSettings appliedSettings_ = kDefaultSettings;
    bool editable_ = true;
    // One re-application for all the fields a recipe sets.
    bool applyingRecipe_ = false;
};

}  // namespace parcelo
