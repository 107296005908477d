Action()
{
	web_url("page",
		"URL=http://bench.local/page.html",
		"Resource=0",
		"RecContentType=text/html",
		"Mode=HTTP",
		LAST);

	return 0;
}
