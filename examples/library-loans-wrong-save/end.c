/* Back to the account page and sign out. */
end()
{
	web_url("account",
		"URL=https://loans.example.org/account",
		"Resource=0",
		"RecContentType=text/html",
		"Referer=https://loans.example.org/account/loans/renew",
		"Snapshot=t9.inf",
		"Mode=HTML",
		LAST);

	web_reg_find("Text=You have signed out", LAST);

	web_link("Sign out",
		"Text=Sign out",
		"Snapshot=t10.inf",
		LAST);

	return 0;
}
