Action()
{
	web_custom_request("api",
		"URL=http://bench.local/api.json",
		"Method=GET",
		"Resource=0",
		"RecContentType=application/json",
		"Mode=HTTP",
		LAST);

	return 0;
}
