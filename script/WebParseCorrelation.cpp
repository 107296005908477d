// Parser of the correlation step that saves part of a response.
#include "webstep/script/internal/DefineParser.h"

WEBSTEP_DEFINE_PARSER(CWebParseRegSaveParam, CWebStepRegSaveParam, "web_reg_save_param",
                      AS_ATTRIBUTES, 0, LA_PARAMETER_NAME)
