// SPDX-License-Identifier: Apache-2.0
// The driver layer: functions without a model.
#include "dval/dval.h"
#include "dval/dvvdo.h"
#include "vset_call.h"

// One line each.
// clang-format off
DVAL_Result_t DVAL_Init() { return vset::unmodelled(__func__); }
DVAL_Result_t DVVDO_Reset(unsigned int) { return vset::unmodelled(__func__); }
DVAL_Result_t DVVDO_SetArg(unsigned int, unsigned int, unsigned int) { return vset::unmodelled(__func__); }
DVAL_Result_t DVVDO_SetOverScan(unsigned int, const DVVDO_OverScan_t*) { return vset::unmodelled(__func__); }
