// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace qb::test {

// The compressed-RTF example stream of the format's documentation; it expands to
// "{\rtf1\ansi\ansicpg1252\pard hello world}\r\n".
std::string helloWorldCompressedRTF();
// `rtf` as a compressed-RTF property value (literal runs only, with a correct CRC).
std::string compressedRTF(std::string_view rtf);

// A complete winmail.dat: code page, class, subject, date, sender and body properties, an
// RTF body, three recipients and three attachments (a text file, an image and an
// embedded message of its own).
std::string sampleWinmail();

}  // namespace qb::test

namespace qb::test {

// A large winmail.dat: `attachments` attachments of `attachmentSize` bytes each, with
// names, types and properties, plus a recipient table of `recipients` rows.
std::string largeWinmail(size_t attachments, size_t attachmentSize, size_t recipients = 100);

}  // namespace qb::test

namespace qb::test {

// A large .msg: `attachments` attachments of `attachmentSize` bytes each.
std::string largeMsg(size_t attachments, size_t attachmentSize);

}  // namespace qb::test
