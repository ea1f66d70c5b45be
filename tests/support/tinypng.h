// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// A whole PNG of one pixel, 70 bytes, made by another program: head at 8, pixels at 33, end at 58.
inline std::string const kTinyPng("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x01\0\0\0\x01\x08\x06\0\0\0\x1F\x15\xC4\x89\0\0\0\x0DI"
                                  "DAT\x78\xDA\x63\x64\xF8\xCF\x50\x0F\0"
                                  "\x03\x86\x01\x80\x5A\x34\x7D\x6B\0\0\0\0IEND\xAE\x42\x60\x82",
                                  70);
