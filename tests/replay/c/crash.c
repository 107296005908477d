/* A bad pointer after one step. */
crash()
{
	int* nowhere = (int*)16;
	web_url("home", "URL=http://test.example/home", "Resource=0", LAST);
	qz_output_message("before the crash");
	*nowhere = 1;
	qz_output_message("never");
	return 0;
}
