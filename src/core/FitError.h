// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace parcelo {

// The failures of the engine, each with the one message the user sees.
class FitError : public std::exception {
public:
    enum class Case {
        invalidSettings,
        unreadable,
        tooLarge,
        multipleFrames,
        cannotEncode,
        targetUnreachable,
        exactTargetUnreachable,
        sourceTooSmall,
        verificationFailed,
        processingLimit,
        minimumUnreachable,
    };
    static constexpr std::array<Case, 11> allCases{
        Case::invalidSettings,   Case::unreadable,      Case::tooLarge,
        Case::multipleFrames,    Case::cannotEncode,    Case::targetUnreachable,
        Case::exactTargetUnreachable, Case::sourceTooSmall, Case::verificationFailed,
        Case::processingLimit, Case::minimumUnreachable,
    };

    explicit FitError(Case errorCase) : case_(errorCase) {}
    // minimumUnreachable: the largest copy within the limit, and the smallest size asked for.
    static FitError minimumUnreachable(std::int64_t reachedBytes, std::int64_t minBytes);

    [[nodiscard]] Case errorCase() const { return case_; }
    // The user-facing message.
    [[nodiscard]] std::string_view errorDescription() const;
    // The case's name as written in code and in machine-readable output ("unreadable").
    [[nodiscard]] std::string_view caseName() const;
    [[nodiscard]] const char* what() const noexcept override;

    friend bool operator==(const FitError& a, const FitError& b) { return a.case_ == b.case_; }

private:
    Case case_;
    std::string message_;  // only for a message that carries figures
};

// Raised when the caller asked a blocking operation to stop. Never a FitError: a stop
// is not a failure of the image.
class CancellationError : public std::exception {
public:
    [[nodiscard]] const char* what() const noexcept override { return "cancelled"; }
};

}  // namespace parcelo
