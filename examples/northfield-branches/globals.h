#ifndef NORTHFIELD_BRANCHES_GLOBALS_H
#define NORTHFIELD_BRANCHES_GLOBALS_H

/* The recording tool's own headers: webstep does not ship them and stands
 * in its own runtime header for both. */
#include "web_api.h"
#include "qz_runtime.h"

/* Shared by the actions: a message buffer and the renewals of this user. */
char gMessage[256];
int gRenewed;

#endif
