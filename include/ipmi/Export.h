// SPDX-License-Identifier: Apache-2.0
// Marks what the shared library exports.
#pragma once

#define TRX_IPMI_API __attribute__((visibility("default")))
