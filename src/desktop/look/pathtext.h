// Paths of files as text and back. A path is bytes; where these are no UTF-8, each byte that is not ASCII
// becomes a lone low surrogate U+DC80 to U+DCFF (the "surrogateescape" of PEP 383), so that no file is
// out of reach for its name. On the screen such a character is a replacement sign.
//
// Any thread.

#pragma once

#include <QString>

#include <string>

QString PathText(const std::string& Path);
/// The bytes that PathText made Text of; for any other text its UTF-8.
std::string PathBytes(const QString& Text);
