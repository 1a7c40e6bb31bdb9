// SPDX-License-Identifier: MIT

// As the product has it on this processor.
#include <gtest/gtest.h>

#include "tests/settings/xml_marks_checks.h"

namespace {

TEST(XmlMarks, FindAQuoteAtEveryPlace) { xml_marks_checks::ExpectAQuoteFoundAtEveryPlace(); }

TEST(XmlMarks, FindNothingElse) { xml_marks_checks::ExpectNothingFoundWithoutAQuote(); }

TEST(XmlMarks, FindQuotesSideBySide) { xml_marks_checks::ExpectQuotesFoundSideBySide(); }

TEST(XmlMarks, TellOfTheNext57BytesInTheirOrder) { xml_marks_checks::ExpectTheNextMarksInOrder(); }

}  // namespace
