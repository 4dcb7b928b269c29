#pragma once

#include <QRgb>

// Colours of the Lua module editor's highlighting, one per kind of token. The
// highlighter belongs to the core library, which cannot include ui/Theme, so
// they live here and Theme hands them on as Theme::LuaSyntax.
namespace LuaSyntaxColors {

// Comments, line and long: the highlighter also recognises a comment by this
// colour together with italics.
inline constexpr QRgb kComment = qRgb(128, 128, 128);
inline constexpr QRgb kLongString = qRgb(128, 128, 0);
inline constexpr QRgb kString = qRgb(0, 128, 0);
inline constexpr QRgb kKeyword = qRgb(0, 0, 255);
// The functions the Lua engine offers to modules.
inline constexpr QRgb kClientApi = qRgb(0, 255, 255);
inline constexpr QRgb kStandardLibrary = qRgb(255, 0, 255);
inline constexpr QRgb kNumber = qRgb(255, 165, 0);

} // namespace LuaSyntaxColors
