/* Step calls whose argument lists are not closed by LAST, one ended by a
 * null argument, one given a number where a text belongs, and a 10 MB value. */

/* Without LAST the list runs on into the caller's frame: here an array of
 * texts, so that no null pointer ends it before the bound. */
static void unclosed_over_texts(void)
{
	const char* texts[12000];
	int i;
	for (i = 0; i < 12000; i++)
		texts[i] = "Resource=0";
	/* Six texts: the registers that carry arguments hold texts too. */
	web_url("unclosed", "URL=http://test.example/home", "Resource=0", "Mode=HTML",
		"Referer=", "Snapshot=t1.inf");
	qz_output_message("after the unclosed list %s", texts[11999]);
}

unclosed()
{
	char* big;
	qz_continue_on_error(1);
	unclosed_over_texts();
	web_url("unclosed, short", "URL=http://test.example/home", "Resource=0");
	web_url("null ends it", "URL=http://test.example/home", "Resource=0", (char*)0);
	web_url("not text", "URL=http://test.example/home", 12345, LAST);
	big = (char*)malloc(10 * 1024 * 1024 + 1);
	memset(big, 'x', 10 * 1024 * 1024);
	big[10 * 1024 * 1024] = 0;
	qz_output_message("saved %d", qz_save_string(big, "big"));
	qz_output_message("length %d", (int)strlen(qz_eval_string("{big}")));
	free(big);
	qz_output_message("null saved %d", qz_save_string((char*)0, "none"));
	return 0;
}
