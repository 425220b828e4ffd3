// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

.pragma library

// The integer a requirement field's text stands for: an optional "+" or "-" and ASCII digits,
// nothing else (no spaces), within 64 bits; null for any other text.
function value(text) {
    const match = /^([+-]?)0*([0-9]+)$/.exec(text)
    if (match === null)
        return null
    const digits = match[2]
    const limit = match[1] === "-" ? "9223372036854775808" : "9223372036854775807"
    if (digits.length > limit.length || (digits.length === limit.length && digits > limit))
        return null
    return Number(match[1] + digits)
}

// Whether the text is an integer from `low` to `high`, both included.
function within(text, low, high) {
    const number = value(text)
    return number !== null && number >= low && number <= high
}
