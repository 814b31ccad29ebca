#include "Inspection/maps/internal/solvermonitor.h"

#include <charconv>
#include <optional>
#include <ostream>
#include <string_view>
#include <system_error>

namespace QELT::Inspection {

namespace {

constexpr std::string_view residualLabel = "Residual L2 norm: ";
constexpr std::string_view iterationsLabel = "Iterations to Max. 262144: ";
constexpr std::string_view failureNotice = "Linear system solve failure";

/// The number behind a label; the full stop that ends it is no part of it.
std::optional<double> numberBehind(std::string_view label, std::string_view text) {
    auto const found = text.find(label);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(found + label.size());
    double number = 0.0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? std::optional(number) : std::nullopt;
}

} // namespace

void SolverMonitor::beginSolve() {
    endRecord();
    isInNotice = false;
    solves.emplace_back();
}

void SolverMonitor::finish() {
    endRecord();
}

bool SolverMonitor::getHasFailureNotice() const {
    return notices.find(failureNotice) != std::string::npos;
}

SolverMonitor::int_type SolverMonitor::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        take(traits_type::to_char_type(character));
    }
    return traits_type::not_eof(character);
}

std::streamsize SolverMonitor::xsputn(char const* text, std::streamsize length) {
    for (std::streamsize i = 0; i < length; ++i) {
        take(text[i]);
    }
    return length;
}

void SolverMonitor::take(char character) {
    if (character == '\r') {
        endRecord();
        isInNotice = false;
    } else if (character == '\n') {
        endRecord();
        isInNotice = true;
    } else if (isInNotice) {
        notices += character;
    } else {
        record += character;
    }
}

void SolverMonitor::endRecord() {
    auto const residual = numberBehind(residualLabel, record);
    auto const iterations = numberBehind(iterationsLabel, record);
    record.clear();
    if (!residual || !iterations || solves.empty()) {
        return;
    }
    solves.back().iterations = static_cast<unsigned long>(*iterations);
    solves.back().residual = *residual;
    if (observe) {
        observe(solves.back());
    }
}

StreamRedirection::StreamRedirection(std::ostream& redirected, std::streambuf& target)
    : stream(redirected), former(redirected.rdbuf(&target)) {}

StreamRedirection::~StreamRedirection() {
    stream.rdbuf(former);
}

} // namespace QELT::Inspection
