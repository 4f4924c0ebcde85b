#pragma once
// Text and numbers written into SVG documents by the charts.

#include <string>

namespace unitops {

//! The text with the five XML special characters escaped.
std::string SvgEscaped(const std::string& text);
//! A coordinate with three decimals.
std::string SvgNumber(double x);

}  // namespace unitops
