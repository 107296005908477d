/* The old C of recorded scripts: no return types, a function called before
 * it is declared, a definition with the parameter types apart, C library
 * functions used without their headers. */
#include "web_api.h"
#include <lrun.h>

static counter;

old_style()
{
	char buffer[64];
	counter = twice(21);
	sprintf(buffer, "twice gives %d", counter);
	qz_output_message(buffer);
	qz_output_message("length %d", strlen(buffer));
	return 0;
}

twice(value)
	int value;
{
	return value * 2;
}
