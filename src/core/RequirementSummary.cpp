// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RequirementSummary.h"

#include "ByteCountFormat.h"

namespace parcelo {

std::string requirementSummary(std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                               const std::optional<ExactTexts>& exact) {
    const std::string dimensions = exact ? exact->width + " \u00d7 " + exact->height + " px"
                                         : "Up to " + std::to_string(maxEdge == 0 ? kMaxMaxEdge : maxEdge) + " px";
    const std::string formatText = format == OutputFormat::automatic ? "Auto format"
                                   : format == OutputFormat::jpeg    ? "JPEG"
                                                                     : "PNG";
    return "\u2264 " + formatByteCount(targetBytes) + " \u00b7 " + dimensions + " \u00b7 " + formatText;
}

std::string requirementSummary(std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                               const std::optional<ExactTexts>& exact, std::int64_t minBytes, std::int64_t dpi) {
    std::string summary = requirementSummary(targetBytes, maxEdge, format, exact);
    if (minBytes != 0) {
        // "20–50 KB": the unit once when both sizes share it.
        const std::string low = formatByteCount(minBytes), high = formatByteCount(targetBytes);
        const std::size_t lowUnit = low.rfind(' '), highUnit = high.rfind(' ');
        const bool sameUnit = low.substr(lowUnit) == high.substr(highUnit);
        const std::string range = (sameUnit ? low.substr(0, lowUnit) : low) + "\u2013" + high;
        summary.replace(0, summary.find(" \u00b7 "), range);
    }
    if (dpi != 0) summary.insert(summary.rfind(" \u00b7 "), " \u00b7 " + std::to_string(dpi) + " dpi");
    return summary;
}

// Applying requirements keeps whole kilobytes, so the size shown is the limit rounded down to one.
std::string requirementSummary(const FitSettings& settings) {
    std::optional<ExactTexts> exact;
    if (settings.isExact()) exact = ExactTexts{std::to_string(settings.exactWidth), std::to_string(settings.exactHeight)};
    return requirementSummary(settings.targetBytes / kBytesPerKB * kBytesPerKB, settings.maxEdge,
                              settings.outputFormat, exact, settings.minBytes / kBytesPerKB * kBytesPerKB, settings.dpi);
}

}  // namespace parcelo
