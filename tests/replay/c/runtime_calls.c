/* Every runtime function once: the test reads the messages it sends. */
calls()
{
	int id = 0;
	char* group = 0;
	int scenario = -1;

	qz_start_transaction("outer");
	qz_start_sub_transaction("inner", "outer");
	web_url("home", "URL=http://test.example/home", "Resource=0", "Mode=HTML", LAST);
	qz_output_message("status inner %d", qz_get_transaction_status("inner"));
	qz_end_sub_transaction("inner", QZ_PASS);
	qz_output_message("return code %d", web_get_int_property(HTTP_INFO_RETURN_CODE));
	qz_output_message("status none %d", qz_get_transaction_status("none"));
	qz_end_transaction("outer", QZ_AUTO);
	qz_start_transaction("stopped");
	qz_stop_transaction("stopped");
	qz_think_time(2.5);

	qz_save_string("Ada", "name");
	qz_output_message("eval %s", qz_eval_string("hello {name}"));
	qz_save_int(42, "answer");
	qz_output_message("int %s", qz_eval_string("{answer}"));
	qz_save_datetime("%Y", DATE_NOW + ONE_DAY, "year");
	qz_output_message("year %d", atoi(qz_eval_string("{year}")) > 2000);
	qz_param_sprintf("formatted", "%s-%03d", "id", 7);
	qz_output_message("sprintf %s", qz_eval_string("{formatted}"));
	qz_save_string("3", "arr_count");
	qz_save_string("a", "arr_1");
	qz_save_string("b", "arr_2");
	qz_save_string("c", "arr_3");
	qz_output_message("array %d %s %s", qz_paramarr_len("arr"), qz_paramarr_idx("arr", 2),
		qz_paramarr_random("arr") != 0 ? "random" : "none");
	qz_output_message("advance %d", qz_advance_param("name"));
	qz_output_message("advance undefined %d", qz_advance_param("undefined"));
	qz_output_message("free %d", qz_free_parameter("name"));
	qz_output_message("free again %d", qz_free_parameter("name"));
	qz_save_searched_string("a=1;b=22;c=3", 100, 1, "=", 1, 2, "found");
	qz_output_message("searched %s", qz_eval_string("{found}"));
	qz_convert_string_encoding("\xc3\xa9t\xc3\xa9", QZ_ENC_UTF8, "latin1", "latin");
	qz_output_message("converted %d", (int)strlen(qz_eval_string("{latin}")));

	qz_error_message("an error %d", 1);
	qz_log_message("a log");
	qz_message("a message");
	qz_vuser_status_message("status %s", "ok");
	qz_set_debug_message(QZ_MSG_CLASS_DISABLE_LOG, QZ_SWITCH_ON);
	qz_log_message("hidden log");
	qz_output_message("debug %u", qz_get_debug_message());
	qz_set_debug_message(QZ_MSG_CLASS_DISABLE_LOG, QZ_SWITCH_OFF);

	qz_whoami(&id, &group, &scenario);
	qz_output_message("whoami %d %s %d", id, group, scenario);
	qz_output_message("host %d", qz_get_host_name()[0] != 0);
	qz_output_message("ip [%s]", qz_get_vuser_ip());
	qz_output_message("attribute %s %d", qz_get_attrib_string("region"),
		qz_get_attrib_string("none") == 0);
	qz_output_message("decrypt [%s]", qz_decrypt("c2VjcmV0"));
	qz_rendezvous("meet");
	qz_user_data_point("basket", 12.5);

	qz_continue_on_error(1);
	web_url("missing", "URL=http://test.example/missing", "Resource=0", LAST);
	qz_output_message("after the failure");
	qz_continue_on_error(0);
	web_url("missing again", "URL=http://test.example/missing", "Resource=0", LAST);
	qz_output_message("never sent");
	return 0;
}
