#pragma once

#include "workbench/host/ComHeaders.h"

#include <string>

/// Short texts for the call log and the story a demo prints.
namespace workbench {

std::wstring DescribeHex(unsigned long value); // "0x80004005"
std::wstring DescribeIid(REFIID iid);
std::wstring DescribeVariant(const VARIANT& value);       // texts are cut at 40 characters
std::wstring DescribeArguments(const DISPPARAMS& params); // natural order, comma between

} // namespace workbench
