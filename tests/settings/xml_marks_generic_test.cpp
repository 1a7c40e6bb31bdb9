// SPDX-License-Identifier: MIT

// The source for all other processors, which runs on this one too.
#include "settings/xml_marks_generic.cpp"

#include <gtest/gtest.h>

#include "tests/settings/xml_marks_checks.h"

namespace {

TEST(XmlMarksGeneric, FindAQuoteAtEveryPlace) { xml_marks_checks::ExpectAQuoteFoundAtEveryPlace(); }

TEST(XmlMarksGeneric, FindNothingElse) { xml_marks_checks::ExpectNothingFoundWithoutAQuote(); }

TEST(XmlMarksGeneric, FindQuotesSideBySide) { xml_marks_checks::ExpectQuotesFoundSideBySide(); }

TEST(XmlMarksGeneric, TellOfTheNext57BytesInTheirOrder) {
  xml_marks_checks::ExpectTheNextMarksInOrder();
}

}  // namespace
