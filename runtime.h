/*
 * <webstep/runtime.h>: what the C of a recorded script folder calls.
 *
 * A plain C header (C89 and later; C++ may include it too). webstep compiles
 * the action files of a folder with this header forced in, so scripts need
 * not include it; it also stands in for every header a script includes that
 * is not in its folder (the recording tool's own headers).
 *
 * Step functions. Every step function takes texts (const char*). Those whose
 * grammar is a list take a leading text (the step name, or a parameter name,
 * or the first attribute: see each group) and a list closed by LAST:
 *
 *     web_url("home", "URL={BaseUrl}/", "Mode=HTML", LAST);
 *
 * The markers (LAST, ENDITEM, ITEMDATA, EXTRARES, ...) are the texts the
 * parsers expect and travel as arguments of their own. A step returns
 * QZ_PASS (0) when it passed and QZ_FAIL (1) when it failed; when a step
 * fails and the user does not continue on error, the action does not return
 * to the script: the iteration ends. web_get_int_property returns the
 * property asked for.
 *
 * Argument lists are read up to LAST, or up to a null argument (which ends
 * the list as LAST does). A list that never reaches either is read for at
 * most QZ_MAX_STEP_ARGUMENTS arguments and QZ_MAX_STEP_TEXT bytes of text;
 * the step then fails with a message naming the bound, as it does for an
 * argument that is not readable text (a number where a text was expected).
 *
 * Texts returned by the runtime (qz_eval_string, qz_paramarr_idx, ...)
 * belong to it and stay valid until the end of the iteration.
 *
 * Where a call is: unless QZ_NO_LOCATION is defined before this header, each
 * runtime name below is also a macro that records __FILE__ and __LINE__
 * before the call, so that messages (and the report of a crash) name the
 * action file and line of the step last called. Define QZ_NO_LOCATION to
 * take the address of a runtime function or to declare one again.
 */
#ifndef WEBSTEP_RUNTIME_H
#define WEBSTEP_RUNTIME_H

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Markers: the texts the step parsers expect. ---- */

#define LAST "LAST"                     /* closes every argument list */
#define ENDITEM "ENDITEM"               /* closes an item of an ITEMDATA or EXTRARES list */
#define ITEMDATA "ITEMDATA"             /* form fields of web_submit_data, web_submit_form */
#define EXTRARES "EXTRARES"             /* extra resources of a navigation step */
#define STARTHIDDENS "STARTHIDDENS"     /* hidden fields of web_submit_data ... */
#define ENDHIDDENS "ENDHIDDENS"         /* ... up to here */
#define RAW_BODY_START "RAW_BODY_START" /* raw body of a custom request */
#define SEARCH_FILTERS "SEARCH_FILTERS" /* search filters of the extended save rules */
#define HEADERS "HEADERS"               /* header items of web_rest ... */
#define ENDHEADER "ENDHEADER"           /* ... each closed by this */
#define SOURCES "SOURCES"               /* source files of web_js_run (items close with ENDITEM) */
#define BEGIN_ARGUMENTS "BEGIN_ARGUMENTS" /* the arguments of web_service_call ... */
#define END_ARGUMENTS "END_ARGUMENTS"
#define BEGIN_RESULT "BEGIN_RESULT" /* ... and its results */
#define END_RESULT "END_RESULT"

/* Values some steps take written bare. Define QZ_NO_BARE_VALUES to leave
 * these names free. */
#ifndef QZ_NO_BARE_VALUES
#define HTTP_INFO_RETURN_CODE "HTTP_INFO_RETURN_CODE"     /* web_get_int_property */
#define HTTP_INFO_DOWNLOAD_SIZE "HTTP_INFO_DOWNLOAD_SIZE" /* bytes of the last step */
#define HTTP_INFO_DOWNLOAD_TIME "HTTP_INFO_DOWNLOAD_TIME" /* milliseconds of the last step */
#define HTTP_INFO_TOTAL_REQUEST_STAT "HTTP_INFO_TOTAL_REQUEST_STAT"
#define HTTP_INFO_TOTAL_RESPONSE_STAT "HTTP_INFO_TOTAL_RESPONSE_STAT"
#define CONNECT "CONNECT" /* web_set_timeout kinds */
#define RESOLVE "RESOLVE"
#define RECEIVE "RECEIVE"
#define STEP "STEP"
#define REQUEST "REQUEST" /* web_save_header kinds */
#define RESPONSE "RESPONSE"
#endif

/* The bounds of an argument list that is not closed (see above). */
#define QZ_MAX_STEP_ARGUMENTS 10000
#define QZ_MAX_STEP_TEXT 67108864L

/* ---- Step functions of the standard set. ---- */
/* Navigation: a step name, then attributes. */
int web_url(const char* name, ...);
int web_link(const char* name, ...);
int web_image(const char* name, ...);
int web_submit_form(const char* name, ...);
int web_submit_data(const char* name, ...);
int web_custom_request(const char* name, ...);
int flex_web_request(const char* name, ...);
int silverlight_web_request(const char* name, ...);
/* Checks: a step name (web_find and the two checks) or the attributes. */
int web_find(const char* name, ...);
int web_image_check(const char* name, ...);
int web_java_check(const char* name, ...);
int web_reg_find(const char* attribute, ...);
int web_global_verification(const char* attribute, ...);
int web_global_verification_pause(const char* attribute, ...);
int web_global_verification_resume(const char* attribute, ...);
/* Saving rules and conversions: the parameter name, then attributes. */
int web_reg_save_param(const char* parameter, ...);
int web_convert_param(const char* parameter, ...);
int web_create_html_param(const char* parameter, const char* left, const char* right);
int web_create_html_param_ex(const char* parameter, const char* left, const char* right,
                             const char* instance);
int web_sjis_to_euc_param(const char* parameter, const char* value);
int web_save_header(const char* kind, const char* parameter);
/* Connection settings. */
int web_set_proxy(const char* host);
int web_set_secure_proxy(const char* host);
int web_set_proxy_bypass(const char* list);
int web_set_proxy_bypass_local(const char* on);
int web_set_user(const char* user, const char* password, const char* host);
int web_set_connections_limit(const char* limit);
int web_enable_keep_alive(void);
int web_disable_keep_alive(void);
int web_set_timeout(const char* kind, const char* seconds);
int web_set_max_retries(const char* retries);
int web_set_max_html_param_len(const char* length);
int web_set_certificate(const char* index);
int web_set_certificate_ex(const char* attribute, ...);
int web_set_sockets_option(const char* option, const char* value);
int web_cache_cleanup(void);
int web_concurrent_start(const char* reserved);
int web_concurrent_end(const char* reserved);
/* Headers: web_remove_auto_header takes ("name", "ImplicitGen=Yes|No", LAST). */
int web_add_header(const char* header, const char* value);
int web_add_auto_header(const char* header, const char* value);
int web_remove_auto_header(const char* header, ...);
int web_revert_auto_header(const char* header);
int web_cleanup_auto_headers(void);
/* Cookies: web_reg_add_cookie takes (cookie, "Text=...", LAST) and
 * web_add_cookie_ex ("Cookie=...", "Insert=...", LAST). */
int web_add_cookie(const char* cookie);
int web_remove_cookie(const char* cookie);
int web_cleanup_cookies(void);
int web_reg_add_cookie(const char* cookie, ...);
int web_add_cookie_ex(const char* attribute, ...);
/* The last step's HTTP_INFO_RETURN_CODE, HTTP_INFO_DOWNLOAD_SIZE,
 * HTTP_INFO_DOWNLOAD_TIME, HTTP_INFO_TOTAL_REQUEST_STAT or
 * HTTP_INFO_TOTAL_RESPONSE_STAT; -1 when the property is unknown. */
int web_get_int_property(const char* property);

/* ---- Step functions of the extended set (current script versions). ---- */
/* Saving rules: attributes ("ParamName=...", ...), SEARCH_FILTERS, LAST. */
int web_reg_save_param_ex(const char* attribute, ...);
int web_reg_save_param_regexp(const char* attribute, ...);
int web_reg_save_param_json(const char* attribute, ...);
int web_reg_save_param_xpath(const char* attribute, ...);
int web_reg_save_param_attrib(const char* attribute, ...);
/* A REST call: a step name, then attributes and HEADERS. */
int web_rest(const char* name, ...);
/* The parameter name, then attributes. */
int web_save_timestamp_param(const char* parameter, ...);
int web_save_param_length(const char* parameter, ...);
int web_convert_date_param(const char* parameter, ...);
int web_dump_cache(const char* parameter, ...);
int web_load_cache(const char* parameter, ...);
/* Attributes up to LAST. */
int web_reg_async_attributes(const char* attribute, ...);
int web_stop_async(const char* attribute, ...);
int web_sync(const char* attribute, ...);
int web_js_run(const char* attribute, ...);
int web_js_reset(const char* attribute, ...);
int web_add_filter(const char* attribute, ...);
int web_add_auto_filter(const char* attribute, ...);
int web_remove_auto_filter(const char* attribute, ...);
int web_set_rts_key(const char* attribute, ...);
int web_convert_to_formatted(const char* attribute, ...);
int web_convert_from_formatted(const char* attribute, ...);
int web_service_call(const char* attribute, ...);
int web_websocket_connect(const char* attribute, ...);
int web_websocket_send(const char* attribute, ...);
int web_websocket_close(const char* attribute, ...);
int web_reg_cross_step_download(const char* attribute, ...);

/* ---- Transactions. ---- */
/* Statuses: QZ_AUTO passes unless a step inside failed; QZ_PASS and QZ_FAIL
 * force the status; QZ_STOP ends the transaction without one. */
#define QZ_PASS 0
#define QZ_FAIL 1
#define QZ_AUTO 2
#define QZ_STOP 3
/* Starts a transaction; returns 0. */
int qz_start_transaction(const char* name);
/* Starts a transaction inside parent (the innermost open one is the parent
 * the results name); returns 0. */
int qz_start_sub_transaction(const char* name, const char* parent);
/* Ends the transaction with a status above; returns 0, -1 when the name is
 * null. */
int qz_end_transaction(const char* name, int status);
int qz_end_sub_transaction(const char* name, int status);
/* Ends the transaction with QZ_STOP: its time is reported without a status. */
int qz_stop_transaction(const char* name);
/* QZ_FAIL when a step failed since the transaction started, else QZ_PASS;
 * -1 when no transaction of that name is open. */
int qz_get_transaction_status(const char* name);
/* Waits as the settings say for a recorded think time of seconds. */
void qz_think_time(double seconds);

/* ---- Parameters. ---- */
/* The text with every parameter reference ("{Name}") replaced by its value. */
char* qz_eval_string(const char* text);
/* Saves value as the parameter name; 0, or -1 with a message (null text). */
int qz_save_string(const char* value, const char* name);
/* Saves the decimal text of value as the parameter name. */
int qz_save_int(int value, const char* name);
/* Saves the local time plus offset seconds, printed with a strftime format
 * ("%Y-%m-%d"), as the parameter name. */
#define DATE_NOW 0
#define TIME_NOW 0
#define ONE_MIN 60
#define ONE_HOUR 3600
#define ONE_DAY 86400
void qz_save_datetime(const char* format, int offset, const char* name);
/* Saves a printf-style text as the parameter name; returns its length or
 * -1. */
int qz_param_sprintf(const char* name, const char* format, ...);
/* Element index (from 1) of a parameter array ("name_1", "name_2", ...,
 * saved by a rule with Ord=ALL); null when it has none. */
char* qz_paramarr_idx(const char* name, unsigned int index);
/* The element count of a parameter array ("name_count"); 0 when none. */
int qz_paramarr_len(const char* name);
/* A random element of a parameter array; null when it is empty. */
char* qz_paramarr_random(const char* name);
/* Draws the parameter's value now, as a reference to it would (its update
 * rule decides whether the value changes); 0, or -1 when it has none. */
int qz_advance_param(const char* name);
/* Forgets a saved value (a definition of the name applies again); 0, or -1
 * when nothing was saved under the name. */
int qz_free_parameter(const char* name);
/* Saves length bytes found offset bytes after the occurrence-th (from 0)
 * occurrence of search in the first size bytes of buffer; 0, or -1 when
 * there is no such occurrence. */
int qz_save_searched_string(const char* buffer, long size, unsigned int occurrence,
                            const char* search, int offset, unsigned int length, const char* name);
/* Converts text from one character encoding to another and saves the
 * result as name; 0, or -1 with a message. Encodings are iconv names;
 * QZ_ENC_SYSTEM_LOCALE (null) is the locale's. */
#define QZ_ENC_SYSTEM_LOCALE ((const char*)0)
#define QZ_ENC_UTF8 "utf-8"
#define QZ_ENC_UNICODE "ucs-2le"
int qz_convert_string_encoding(const char* text, const char* from, const char* to,
                               const char* name);

/* ---- Messages: printf-style; each returns the length sent, or -1. ---- */
int qz_output_message(const char* format, ...);       /* level "output" */
int qz_error_message(const char* format, ...);        /* level "error" */
int qz_log_message(const char* format, ...);          /* level "log", unless the log is off */
int qz_message(const char* format, ...);              /* level "message" */
int qz_vuser_status_message(const char* format, ...); /* level "status" */
/* The message classes: qz_set_debug_message(classes, QZ_SWITCH_ON) adds
 * them, QZ_SWITCH_OFF removes them; returns the classes now. With
 * QZ_MSG_CLASS_DISABLE_LOG set, qz_log_message sends nothing. The default
 * is QZ_MSG_CLASS_BRIEF_LOG. */
#define QZ_MSG_CLASS_DISABLE_LOG 1
#define QZ_MSG_CLASS_BRIEF_LOG 2
#define QZ_MSG_CLASS_EXTENDED_LOG 4
#define QZ_MSG_CLASS_RESULT_DATA 8
#define QZ_MSG_CLASS_PARAMETERS 16
#define QZ_MSG_CLASS_FULL_TRACE 32
#define QZ_SWITCH_OFF 0
#define QZ_SWITCH_ON 1
unsigned int qz_set_debug_message(unsigned int classes, unsigned int on);
unsigned int qz_get_debug_message(void);

/* ---- Control. ---- */
/* qz_exit(mode, status): QZ_EXIT_ACTION_AND_CONTINUE ends the action (the
 * next action runs), QZ_EXIT_ITERATION_AND_CONTINUE ends the iteration (the
 * next one runs), QZ_EXIT_VUSER ends the run group now (the end action
 * runs), QZ_EXIT_VUSER_AFTER_ITERATION and QZ_EXIT_VUSER_AFTER_ACTION go on
 * to the end of the iteration or action first. status is QZ_PASS or QZ_FAIL
 * (QZ_FAIL counts the iteration as failed). qz_exit does not return. */
#define QZ_EXIT_VUSER 0
#define QZ_EXIT_ACTION_AND_CONTINUE 1
#define QZ_EXIT_ITERATION_AND_CONTINUE 2
#define QZ_EXIT_VUSER_AFTER_ITERATION 3
#define QZ_EXIT_VUSER_AFTER_ACTION 4
void qz_exit(int mode, int status);
/* Ends the user: the run group stops, the end action runs; the user's
 * result says it was aborted. Does not return. */
void qz_abort(void);
/* 1: a failed step does not end the iteration; 0: it does. */
void qz_continue_on_error(int on);

/* ---- Identity. ---- */
/* The user number (from 1), its group name and the scenario id (0); any
 * pointer may be null. */
void qz_whoami(int* user, char** group, int* scenario);
/* The name of the machine that runs the user. */
char* qz_get_host_name(void);
/* The user's IP address when one is set, else the empty text. */
char* qz_get_vuser_ip(void);
/* The value of "--attr NAME=VALUE" of the command line; null when none. */
char* qz_get_attrib_string(const char* name);
/* The plain text of an encrypted password (through the installed password
 * routine); the empty text when it cannot be decrypted. */
char* qz_decrypt(const char* text);

/* ---- Results. ---- */
/* A meeting point of the users (offline nobody waits): recorded in the
 * results as a message of level "rendezvous"; returns 0. */
int qz_rendezvous(const char* name);
/* A value of the script's own, recorded in the results as a message of
 * level "data-point" ("name=value"); returns 0. */
int qz_user_data_point(const char* name, double value);

/* Records where the next call is (see QZ_NO_LOCATION). */
void qz__at(const char* file, int line);

#ifdef __cplusplus
}
#endif

#ifndef QZ_NO_LOCATION
#define QZ__AT(function) (qz__at(__FILE__, __LINE__), function)
#define web_url QZ__AT(web_url)
#define web_link QZ__AT(web_link)
#define web_image QZ__AT(web_image)
#define web_submit_form QZ__AT(web_submit_form)
#define web_submit_data QZ__AT(web_submit_data)
#define web_custom_request QZ__AT(web_custom_request)
#define flex_web_request QZ__AT(flex_web_request)
#define silverlight_web_request QZ__AT(silverlight_web_request)
#define web_find QZ__AT(web_find)
#define web_image_check QZ__AT(web_image_check)
#define web_java_check QZ__AT(web_java_check)
#define web_reg_find QZ__AT(web_reg_find)
#define web_global_verification QZ__AT(web_global_verification)
#define web_global_verification_pause QZ__AT(web_global_verification_pause)
#define web_global_verification_resume QZ__AT(web_global_verification_resume)
#define web_reg_save_param QZ__AT(web_reg_save_param)
#define web_convert_param QZ__AT(web_convert_param)
#define web_create_html_param QZ__AT(web_create_html_param)
#define web_create_html_param_ex QZ__AT(web_create_html_param_ex)
#define web_sjis_to_euc_param QZ__AT(web_sjis_to_euc_param)
#define web_save_header QZ__AT(web_save_header)
#define web_set_proxy QZ__AT(web_set_proxy)
#define web_set_secure_proxy QZ__AT(web_set_secure_proxy)
#define web_set_proxy_bypass QZ__AT(web_set_proxy_bypass)
#define web_set_proxy_bypass_local QZ__AT(web_set_proxy_bypass_local)
#define web_set_user QZ__AT(web_set_user)
#define web_set_connections_limit QZ__AT(web_set_connections_limit)
#define web_enable_keep_alive QZ__AT(web_enable_keep_alive)
#define web_disable_keep_alive QZ__AT(web_disable_keep_alive)
#define web_set_timeout QZ__AT(web_set_timeout)
#define web_set_max_retries QZ__AT(web_set_max_retries)
#define web_set_max_html_param_len QZ__AT(web_set_max_html_param_len)
#define web_set_certificate QZ__AT(web_set_certificate)
#define web_set_certificate_ex QZ__AT(web_set_certificate_ex)
#define web_set_sockets_option QZ__AT(web_set_sockets_option)
#define web_cache_cleanup QZ__AT(web_cache_cleanup)
#define web_concurrent_start QZ__AT(web_concurrent_start)
#define web_concurrent_end QZ__AT(web_concurrent_end)
#define web_add_header QZ__AT(web_add_header)
#define web_add_auto_header QZ__AT(web_add_auto_header)
#define web_remove_auto_header QZ__AT(web_remove_auto_header)
#define web_revert_auto_header QZ__AT(web_revert_auto_header)
#define web_cleanup_auto_headers QZ__AT(web_cleanup_auto_headers)
#define web_add_cookie QZ__AT(web_add_cookie)
#define web_remove_cookie QZ__AT(web_remove_cookie)
#define web_cleanup_cookies QZ__AT(web_cleanup_cookies)
#define web_reg_add_cookie QZ__AT(web_reg_add_cookie)
#define web_add_cookie_ex QZ__AT(web_add_cookie_ex)
#define web_get_int_property QZ__AT(web_get_int_property)
#define web_reg_save_param_ex QZ__AT(web_reg_save_param_ex)
#define web_reg_save_param_regexp QZ__AT(web_reg_save_param_regexp)
#define web_reg_save_param_json QZ__AT(web_reg_save_param_json)
#define web_reg_save_param_xpath QZ__AT(web_reg_save_param_xpath)
#define web_reg_save_param_attrib QZ__AT(web_reg_save_param_attrib)
#define web_rest QZ__AT(web_rest)
#define web_save_timestamp_param QZ__AT(web_save_timestamp_param)
#define web_save_param_length QZ__AT(web_save_param_length)
#define web_convert_date_param QZ__AT(web_convert_date_param)
#define web_dump_cache QZ__AT(web_dump_cache)
#define web_load_cache QZ__AT(web_load_cache)
#define web_reg_async_attributes QZ__AT(web_reg_async_attributes)
#define web_stop_async QZ__AT(web_stop_async)
#define web_sync QZ__AT(web_sync)
#define web_js_run QZ__AT(web_js_run)
#define web_js_reset QZ__AT(web_js_reset)
#define web_add_filter QZ__AT(web_add_filter)
#define web_add_auto_filter QZ__AT(web_add_auto_filter)
#define web_remove_auto_filter QZ__AT(web_remove_auto_filter)
#define web_set_rts_key QZ__AT(web_set_rts_key)
#define web_convert_to_formatted QZ__AT(web_convert_to_formatted)
#define web_convert_from_formatted QZ__AT(web_convert_from_formatted)
#define web_service_call QZ__AT(web_service_call)
#define web_websocket_connect QZ__AT(web_websocket_connect)
#define web_websocket_send QZ__AT(web_websocket_send)
#define web_websocket_close QZ__AT(web_websocket_close)
#define web_reg_cross_step_download QZ__AT(web_reg_cross_step_download)
#define qz_start_transaction QZ__AT(qz_start_transaction)
#define qz_start_sub_transaction QZ__AT(qz_start_sub_transaction)
#define qz_end_transaction QZ__AT(qz_end_transaction)
#define qz_end_sub_transaction QZ__AT(qz_end_sub_transaction)
#define qz_stop_transaction QZ__AT(qz_stop_transaction)
#define qz_get_transaction_status QZ__AT(qz_get_transaction_status)
#define qz_think_time QZ__AT(qz_think_time)
#define qz_eval_string QZ__AT(qz_eval_string)
#define qz_save_string QZ__AT(qz_save_string)
#define qz_save_int QZ__AT(qz_save_int)
#define qz_save_datetime QZ__AT(qz_save_datetime)
#define qz_param_sprintf QZ__AT(qz_param_sprintf)
#define qz_paramarr_idx QZ__AT(qz_paramarr_idx)
#define qz_paramarr_len QZ__AT(qz_paramarr_len)
#define qz_paramarr_random QZ__AT(qz_paramarr_random)
#define qz_advance_param QZ__AT(qz_advance_param)
#define qz_free_parameter QZ__AT(qz_free_parameter)
#define qz_save_searched_string QZ__AT(qz_save_searched_string)
#define qz_convert_string_encoding QZ__AT(qz_convert_string_encoding)
#define qz_output_message QZ__AT(qz_output_message)
#define qz_error_message QZ__AT(qz_error_message)
#define qz_log_message QZ__AT(qz_log_message)
#define qz_message QZ__AT(qz_message)
#define qz_vuser_status_message QZ__AT(qz_vuser_status_message)
#define qz_set_debug_message QZ__AT(qz_set_debug_message)
#define qz_get_debug_message QZ__AT(qz_get_debug_message)
#define qz_exit QZ__AT(qz_exit)
#define qz_abort QZ__AT(qz_abort)
#define qz_continue_on_error QZ__AT(qz_continue_on_error)
#define qz_whoami QZ__AT(qz_whoami)
#define qz_get_host_name QZ__AT(qz_get_host_name)
#define qz_get_vuser_ip QZ__AT(qz_get_vuser_ip)
#define qz_get_attrib_string QZ__AT(qz_get_attrib_string)
#define qz_decrypt QZ__AT(qz_decrypt)
#define qz_rendezvous QZ__AT(qz_rendezvous)
#define qz_user_data_point QZ__AT(qz_user_data_point)
#endif

#endif /* WEBSTEP_RUNTIME_H */
