// SPDX-License-Identifier: Apache-2.0
// What is kept of the answers to the identity commands.
#pragma once

#include "node/IpmiNode.h"

namespace Ipmi
{

/// Keeps a good answer in `identity`, which the caller has locked. @return as the answer handlers
using KeepAnswer = int (*)(BmcIdentity& identity, const ipmiifc_resp& resp);

int keepDeviceId(BmcIdentity& identity, const ipmiifc_resp& resp);
int keepOsName(BmcIdentity& identity, const ipmiifc_resp& resp);
int keepOsVersion(BmcIdentity& identity, const ipmiifc_resp& resp);
/// Adds one of the blocks after the first. @return false when it brings nothing
bool addTextBlock(SystemInfoText& text, const ipmiifc_resp& resp);
/// The text in UTF-8.
std::string textOf(const SystemInfoText& text);
int keepSelfTest(BmcIdentity& identity, const ipmiifc_resp& resp);

} // namespace Ipmi
