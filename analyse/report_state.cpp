#include "analyse/report_state.h"

uint32_t g_Opt;
uint32_t g_lstarttime;
int32_t g_TempFirstFrmNum;
int32_t g_TempLastFrmNum;
