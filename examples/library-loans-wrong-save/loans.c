/* Loans: look at the current loans, search the catalogue in its frames,
 * renew a loan, ask for a reminder and send the reading log. This file keeps
 * the CR LF line ends of the recorder. */
loans()
{
	qz_start_transaction("my_loans");

	/* Every loan row carries its id; the first one is renewed below. */
	web_reg_save_param("loanId",
		"LB=data-loan=\"",
		"RB=\"",
		"Ord=1",
		LAST);

	web_link("My loans",
		"Text=My loans",
		"Snapshot=t3.inf",
		LAST);

	qz_end_transaction("my_loans", QZ_AUTO);

	qz_think_time(4);

	web_link("Catalogue",
		"Text=Catalogue",
		"Snapshot=t4.inf",
		LAST);

	qz_start_transaction("search");

	web_reg_find("Text=results for", "Fail=NotFound", LAST);

	web_submit_form("search",
		"Snapshot=t5.inf",
		ITEMDATA,
		"Name=q", "Value=tide tables of the north sea", ENDITEM,
		"Name=format", "Value=Book", ENDITEM,
		"Name=branch", "Value=Harbour Street", ENDITEM,
		"Name=scope", "Value=title", ENDITEM,
		LAST);

	qz_end_transaction("search", QZ_AUTO);

	qz_think_time(6);

	qz_start_transaction("renew");

	web_reg_find("Text=Renewed until", LAST);

	web_submit_data("renew",
		"Action=https://loans.example.org/account/loans/renew",
		"Method=POST",
		"RecContentType=text/html",
		"Referer=https://loans.example.org/account/loans",
		"Snapshot=t6.inf",
		"Mode=HTML",
		ITEMDATA,
		"Name=loan", "Value={loanId}", ENDITEM,
		"Name=weeks", "Value=3", ENDITEM,
		"Name=csrf", "Value={csrf}", ENDITEM,
		LAST);

	qz_end_transaction("renew", QZ_AUTO);

	web_custom_request("reminder",
		"URL=https://loans.example.org/api/v1/reminders",
		"Method=POST",
		"Resource=0",
		"RecContentType=application/json",
		"Referer=https://loans.example.org/account/loans",
		"Snapshot=t7.inf",
		"Mode=HTML",
		"EncType=application/json",
		"Body={\"loan\":\"{loanId}\","
		"\"channel\":\"email\","
		"\"daysBefore\":2}",
		LAST);

	web_custom_request("reading_log",
		"URL=https://loans.example.org/api/v1/reading-log",
		"Method=POST",
		"Resource=1",
		"RecContentType=application/octet-stream",
		"Referer=https://loans.example.org/account/loans",
		"Snapshot=t8.inf",
		"EncType=application/octet-stream",
		"BodyBinary=NFLG\\x01\\x00\\x02"
		"\\x1Ftide tables\\x1E\\xFF",
		LAST);

	return 0;
}
