/* My loans: the account page and the list of loans; every loan id on the
 * list is saved for renew_all. */
#include "globals.h"

my_loans()
{
	web_url("account",
		"URL={BaseUrl}/account",
		"Resource=0",
		"RecContentType=text/html",
		"Referer={BaseUrl}/start",
		"Snapshot=t13.inf",
		"Mode=HTML",
		LAST);

	web_reg_save_param("loanIds",
		"LB=data-loan=\"",
		"RB=\"",
		"Ord=ALL",
		"NotFound=WARNING",
		LAST);

	web_link("Loans",
		"Text=Loans",
		"Snapshot=t14.inf",
		LAST);

	return 0;
}
