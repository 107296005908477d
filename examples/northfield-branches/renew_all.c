/* Renew all: renew every loan that my_loans found, then show the renewals.
 * The renewal was recorded once (snapshot t15) and turned into a loop. */
#include "globals.h"

renew_all()
{
	int i;
	int count;

	count = atoi(qz_eval_string("{loanIds_count}"));

	if (count == 0) {
		qz_output_message("No loans to renew");
		return 0;
	}

	for (i = 1; i <= qz_paramarr_len("loanIds"); i++) {
		qz_save_string(qz_paramarr_idx("loanIds", i), "loanId");

		sprintf(gMessage, "Renewing loan %d of %d: %s", i, count,
			qz_eval_string("{loanId}"));
		qz_output_message(gMessage);

		web_reg_find("Text=Renewed until", LAST);

		web_submit_data("renew",
			"Action={BaseUrl}/account/loans/renew",
			"Method=POST",
			"RecContentType=text/html",
			"Referer={BaseUrl}/account/loans",
			"Snapshot=t15.inf",
			"Mode=HTML",
			ITEMDATA,
			"Name=loan", "Value={loanId}", ENDITEM,
			"Name=weeks", "Value={RenewWeeks}", ENDITEM,
			"Name=token", "Value={formToken}", ENDITEM,
			LAST);

		gRenewed++;
	}

	/* Recorded with an older version of the recorder: page file only. */
	web_url("renewals",
		"URL={BaseUrl}/account/renewals",
		"Resource=0",
		"RecContentType=text/html",
		"Referer={BaseUrl}/account/loans/renew",
		"Snapshot=t16.inf",
		"Mode=HTML",
		LAST);

	return 0;
}
