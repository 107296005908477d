/* An endless loop that never calls the runtime, and endless recursion. */
volatile int spins;

endless()
{
	qz_output_message("spinning");
	for (;;)
		spins++;
	return 0;
}

deeper(int n)
{
	char frame[256];
	frame[n % 256] = (char)n;
	return deeper(n + 1) + frame[(n + 1) % 256];
}

recurse()
{
	qz_output_message("recursing");
	return deeper(0);
}
