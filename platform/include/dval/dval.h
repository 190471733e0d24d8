// SPDX-License-Identifier: Apache-2.0
// The driver layer below the middleware, as far as the picture path needs it.
#ifndef DVAL_DVAL_H
#define DVAL_DVAL_H

#ifdef __cplusplus
extern "C" {
#endif

// Default visibility, in front of every function.
#define DVAL_API __attribute__((visibility("default")))
typedef unsigned int DVAL_Result_t;  // 0 = success; anything else is a failure

// Runs before every other function of the layer. May run again, and answers 0 again.
DVAL_API DVAL_Result_t DVAL_Init(void);

#ifdef __cplusplus
}
#endif

#endif
