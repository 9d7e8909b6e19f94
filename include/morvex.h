/*
 * Morvex: a library for numerical optimization.
 *
 * This is the one public header. It is plain C and may be included from C
 * (C99 or later) and C++. Every call takes the context handle first and
 * returns 0 on success or a negative return code (MX_RC_*).
 *
 * Real values are doubles; MX_INFINITY (the largest finite double) stands
 * for an infinite bound. IEEE infinities and NaNs are refused as data.
 * Indices are 32-bit signed; counts of nonzeros are 64-bit (MX_nnz).
 */
#ifndef MORVEX_H
#define MORVEX_H

#include <stdint.h>

#if defined(MORVEX_BUILDING)
#define MX_EXPORT __attribute__((visibility("default")))
#else
#define MX_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------
 * Handles and basic types
 * ---------------------------------------------------------------------- */
typedef struct MXL_context MXL_context;
typedef MXL_context MX_context;
typedef MX_context *MX_context_ptr;
typedef MXL_context *MXL_context_ptr;

typedef int64_t MX_nnz; /* count of nonzeros, row pointers */

#define MX_INFINITY 1.7976931348623157e308

/* Receives every line of text the library prints when installed; the text
 * is at most 1023 characters. Returns the number of characters taken. */
typedef int MX_puts(const char *str, void *userParams);

/* ------------------------------------------------------------------------
 * Return codes
 * ---------------------------------------------------------------------- */
#define MX_RC_OPTIMAL_OR_SATISFACTORY     0
#define MX_RC_NEAR_OPT                 -100
#define MX_RC_FEAS_XTOL                -101
#define MX_RC_FEAS_NO_IMPROVE          -102
#define MX_RC_FEAS_FTOL                -103
#define MX_RC_INFEASIBLE               -200
#define MX_RC_INFEAS_XTOL              -201
#define MX_RC_INFEAS_NO_IMPROVE        -202
#define MX_RC_INFEAS_MULTISTART        -203
#define MX_RC_INFEAS_CON_BOUNDS        -204
#define MX_RC_INFEAS_VAR_BOUNDS        -205
#define MX_RC_UNBOUNDED                -300
#define MX_RC_UNBOUNDED_OR_INFEAS      -301
#define MX_RC_ITER_LIMIT_FEAS          -400
#define MX_RC_TIME_LIMIT_FEAS          -401
#define MX_RC_FEVAL_LIMIT_FEAS         -402
#define MX_RC_MIP_EXH_FEAS             -403
#define MX_RC_MIP_TERM_FEAS            -404
#define MX_RC_MIP_SOLVE_LIMIT_FEAS     -405
#define MX_RC_MIP_NODE_LIMIT_FEAS      -406
#define MX_RC_ITER_LIMIT_INFEAS        -410
#define MX_RC_TIME_LIMIT_INFEAS        -411
#define MX_RC_FEVAL_LIMIT_INFEAS       -412
#define MX_RC_MIP_EXH_INFEAS           -413
#define MX_RC_MIP_SOLVE_LIMIT_INFEAS   -415
#define MX_RC_MIP_NODE_LIMIT_INFEAS    -416
#define MX_RC_CALLBACK_ERR             -500
#define MX_RC_LP_SOLVER_ERR            -501
#define MX_RC_EVAL_ERR                 -502
#define MX_RC_OUT_OF_MEMORY            -503
#define MX_RC_USER_TERMINATION         -504
#define MX_RC_OPEN_FILE_ERR            -505
#define MX_RC_BAD_N_OR_F               -506
#define MX_RC_BAD_CONSTRAINT           -507
#define MX_RC_BAD_JACOBIAN             -508
#define MX_RC_BAD_HESSIAN              -509
#define MX_RC_BAD_CON_INDEX            -510
#define MX_RC_BAD_JAC_INDEX            -511
#define MX_RC_BAD_HESS_INDEX           -512
#define MX_RC_BAD_CON_BOUND            -513
#define MX_RC_BAD_VAR_BOUND            -514
#define MX_RC_ILLEGAL_CALL             -515
#define MX_RC_BAD_KCPTR                -516
#define MX_RC_NULL_POINTER             -517
#define MX_RC_BAD_PARAMINPUT           -521
#define MX_RC_LINEAR_SOLVER_ERR        -522
#define MX_RC_DERIV_CHECK_FAILED       -523
#define MX_RC_DERIV_CHECK_TERMINATE    -524
#define MX_RC_OVERFLOW_ERR             -525
#define MX_RC_BAD_SIZE                 -526
#define MX_RC_BAD_VARIABLE             -527
#define MX_RC_BAD_VAR_INDEX            -528
#define MX_RC_BAD_OBJECTIVE            -529
#define MX_RC_BAD_RSD                  -531
#define MX_RC_BAD_RSD_INDEX            -532
#define MX_RC_INTERNAL_ERROR           -600

/* ------------------------------------------------------------------------
 * Values of per-item data
 * ---------------------------------------------------------------------- */
#define MX_OBJGOAL_MINIMIZE 0
#define MX_OBJGOAL_MAXIMIZE 1

#define MX_OBJTYPE_NONE     -1
#define MX_OBJTYPE_GENERAL   0
#define MX_OBJTYPE_LINEAR    1
#define MX_OBJTYPE_QUADRATIC 2

#define MX_CONTYPE_NONE     -1
#define MX_CONTYPE_GENERAL   0
#define MX_CONTYPE_LINEAR    1
#define MX_CONTYPE_QUADRATIC 2
#define MX_CONTYPE_CONIC     3

#define MX_VARTYPE_CONTINUOUS 0
#define MX_VARTYPE_INTEGER    1
#define MX_VARTYPE_BINARY     2

#define MX_VAR_LINEAR 1 /* variable property bit: appears only linearly */

#define MX_OBJ_CONVEX    1 /* property bits of the objective and constraints */
#define MX_OBJ_NONCONVEX 2
#define MX_CON_CONVEX    1
#define MX_CON_NONCONVEX 2

#define MX_HONORBNDS_AUTO   -1
#define MX_HONORBNDS_NO      0
#define MX_HONORBNDS_ALWAYS  1
#define MX_HONORBNDS_INITPT  2

#define MX_CCTYPE_VAR 0 /* complementarity of two non-negative variables */

#define MX_MIP_INTVAR_STRATEGY_NONE  0
#define MX_MIP_INTVAR_STRATEGY_RELAX 1
#define MX_MIP_INTVAR_STRATEGY_MPEC  2

/* ------------------------------------------------------------------------
 * Context (create, free, release)
 * ---------------------------------------------------------------------- */

/* Creates a context with an empty model. Returns 0, or -503 with *handle
 * set to NULL when memory runs out. */
MX_EXPORT int MX_new(MX_context_ptr *handle);

/* Frees the context and sets *handle to NULL. A NULL handle prints a
 * warning and returns -516; a NULL *handle returns -516 quietly. */
MX_EXPORT int MX_free(MX_context_ptr *handle);

/* Older family: a context without the model layer (no MX_ model calls). */
MX_EXPORT MXL_context_ptr MXL_new(void);
MX_EXPORT int MXL_free(MXL_context_ptr *handle);

/* Writes "Morvex X.Y.Z" cut to length characters plus a terminating zero:
 * buffer must hold length + 1 characters. length < 1 returns -521. */
MX_EXPORT int MX_get_release(const int length, char *const buffer);

/* @@OPTION-IDS@@ */
/* Option ids: MX_PARAM_ and the option name in upper case. The option
 * table of the library refers to these numbers, so they are written only here. */
#define MX_PARAM_ACT_LPALG                          1109
#define MX_PARAM_ACT_LPDUMPMPS                      1108
#define MX_PARAM_ACT_LPFEASTOL                      1098
#define MX_PARAM_ACT_LPPENALTY                      1111
#define MX_PARAM_ACT_LPPRESOLVE                     1110
#define MX_PARAM_ACT_LPSOLVER                       1012
#define MX_PARAM_ACT_PARAMETRIC                     1107
#define MX_PARAM_ACT_QPALG                          1092
#define MX_PARAM_ACT_QPPENALTY                      1128
#define MX_PARAM_ALGORITHM                          1003
#define MX_PARAM_BAR_CONIC_ENABLE                   1113
#define MX_PARAM_BAR_DIRECTINTERVAL                 1058
#define MX_PARAM_BAR_FEASIBLE                       1006
#define MX_PARAM_BAR_FEASMODETOL                    1021
#define MX_PARAM_BAR_GLOBALIZE                      1155
#define MX_PARAM_BAR_INITMU                         1025
#define MX_PARAM_BAR_INITPI_MPEC                    1093
#define MX_PARAM_BAR_INITPT                         1009
#define MX_PARAM_BAR_INITSHIFTTOL                   1132
#define MX_PARAM_BAR_LINSYS                         1126
#define MX_PARAM_BAR_LINSYS_STORAGE                 1129
#define MX_PARAM_BAR_MAXCORRECTORS                  1117
#define MX_PARAM_BAR_MAXCROSSIT                     1039
#define MX_PARAM_BAR_MAXMU                          1154
#define MX_PARAM_BAR_MAXREFACTOR                    1043
#define MX_PARAM_BAR_MPEC_HEURISTIC                 1142
#define MX_PARAM_BAR_MURULE                         1004
#define MX_PARAM_BAR_PENALTYCONS                    1050
#define MX_PARAM_BAR_PENALTYRULE                    1049
#define MX_PARAM_BAR_REFINEMENT                     1079
#define MX_PARAM_BAR_RELAXCONS                      1077
#define MX_PARAM_BAR_SLACKBOUNDPUSH                 1102
#define MX_PARAM_BAR_SWITCHOBJ                      1104
#define MX_PARAM_BAR_SWITCHRULE                     1061
#define MX_PARAM_BAR_WATCHDOG                       1089
#define MX_PARAM_BFGS_SCALING                       1131
#define MX_PARAM_BLAS_NUMTHREADS                    1135
#define MX_PARAM_BLASOPTION                         1042
#define MX_PARAM_BLASOPTIONLIB                      1045
#define MX_PARAM_BNDRANGE                           1112
#define MX_PARAM_CG_MAXIT                           1013
#define MX_PARAM_CG_PMEM                            1103
#define MX_PARAM_CG_PRECOND                         1041
#define MX_PARAM_CG_STOPTOL                         1099
#define MX_PARAM_CONCURRENT_EVALS                   1134
#define MX_PARAM_CONIC_NUMTHREADS                   1138
#define MX_PARAM_CONVEX                             1114
#define MX_PARAM_CPLEXLIBNAME                       1048
#define MX_PARAM_CPUPLATFORM                        1120
#define MX_PARAM_DATACHECK                          1087
#define MX_PARAM_DEBUG                              1031
#define MX_PARAM_DEBUGOPTIONSNAME                   4011
#define MX_PARAM_DELTA                              1020
#define MX_PARAM_DERIVCHECK                         1080
#define MX_PARAM_DERIVCHECK_TERMINATE               1088
#define MX_PARAM_DERIVCHECK_TOL                     1082
#define MX_PARAM_DERIVCHECK_TYPE                    1081
#define MX_PARAM_EVAL_COST                          1159
#define MX_PARAM_EVAL_FCGA                          1116
#define MX_PARAM_FEASTOL                            1022
#define MX_PARAM_FEASTOL_ABS                        1023
#define MX_PARAM_FINDIFF_ESTNOISE                   1140
#define MX_PARAM_FINDIFF_NUMTHREADS                 1141
#define MX_PARAM_FINDIFF_RELSTEPSIZE                1123
#define MX_PARAM_FINDIFF_TERMINATE                  1119
#define MX_PARAM_FSTOPVAL                           1086
#define MX_PARAM_FTOL                               1090
#define MX_PARAM_FTOL_ITERS                         1091
#define MX_PARAM_GRADOPT                            1007
#define MX_PARAM_HESSIAN_NO_F                       1062
#define MX_PARAM_HESSOPT                            1008
#define MX_PARAM_HONORBNDS                          1002
#define MX_PARAM_INFEASTOL                          1056
#define MX_PARAM_INFEASTOL_ITERS                    1124
#define MX_PARAM_INITPENALTY                        1097
#define MX_PARAM_INITPT_STRATEGY                    1158
#define MX_PARAM_LINESEARCH                         1095
#define MX_PARAM_LINESEARCH_MAXTRIALS               1044
#define MX_PARAM_LINSOLVER                          1057
#define MX_PARAM_LINSOLVER_INEXACT                  1083
#define MX_PARAM_LINSOLVER_INEXACTTOL               1084
#define MX_PARAM_LINSOLVER_MAXITREF                 1130
#define MX_PARAM_LINSOLVER_NODEAMALG                1145
#define MX_PARAM_LINSOLVER_NUMTHREADS               1136
#define MX_PARAM_LINSOLVER_OOC                      1076
#define MX_PARAM_LINSOLVER_ORDERING                 1144
#define MX_PARAM_LINSOLVER_PIVOTTOL                 1029
#define MX_PARAM_LINSOLVER_SCALING                  1156
#define MX_PARAM_LMSIZE                             1038
#define MX_PARAM_MA_MAXTIME_CPU                     1064
#define MX_PARAM_MA_MAXTIME_REAL                    1065
#define MX_PARAM_MA_OUTSUB                          1067
#define MX_PARAM_MA_TERMINATE                       1063
#define MX_PARAM_MAXFEVALS                          1085
#define MX_PARAM_MAXIT                              1014
#define MX_PARAM_MAXTIME_CPU                        1024
#define MX_PARAM_MAXTIME_REAL                       1040
#define MX_PARAM_MIP_BRANCHRULE                     2002
#define MX_PARAM_MIP_CLIQUE                         2038
#define MX_PARAM_MIP_CUT_FLOWCOVER                  2053
#define MX_PARAM_MIP_CUT_PROBING                    2052
#define MX_PARAM_MIP_CUT_STRATEGY                   4007
#define MX_PARAM_MIP_CUTFACTOR                      2035
#define MX_PARAM_MIP_CUTOFF                         2044
#define MX_PARAM_MIP_CUTTING_PLANE                  2043
#define MX_PARAM_MIP_CUTTING_PLANE_RELTOL           4010
#define MX_PARAM_MIP_DEBUG                          2013
#define MX_PARAM_MIP_GOMORY                         2051
#define MX_PARAM_MIP_GUB_BRANCH                     2015
#define MX_PARAM_MIP_HEURISTIC                      2022
#define MX_PARAM_MIP_HEURISTIC_DIVING               2042
#define MX_PARAM_MIP_HEURISTIC_FEASPUMP             2040
#define MX_PARAM_MIP_HEURISTIC_LNS                  2045
#define MX_PARAM_MIP_HEURISTIC_LOCALSEARCH          2054
#define MX_PARAM_MIP_HEURISTIC_MAXIT                2023
#define MX_PARAM_MIP_HEURISTIC_MISQP                2049
#define MX_PARAM_MIP_HEURISTIC_MPEC                 2041
#define MX_PARAM_MIP_HEURISTIC_STRATEGY             2039
#define MX_PARAM_MIP_HEURISTIC_TERMINATE            2033
#define MX_PARAM_MIP_IMPLICATIONS                   2014
#define MX_PARAM_MIP_INTEGER_TOL                    2009
#define MX_PARAM_MIP_INTVAR_STRATEGY                2030
#define MX_PARAM_MIP_KNAPSACK                       2016
#define MX_PARAM_MIP_LIFTPROJECT                    2047
#define MX_PARAM_MIP_LPALG                          2019
#define MX_PARAM_MIP_MAXNODES                       2021
#define MX_PARAM_MIP_MAXSEPCONS                     4005
#define MX_PARAM_MIP_MAXSOLVES                      2008
#define MX_PARAM_MIP_MAXTIME_CPU                    2006
#define MX_PARAM_MIP_MAXTIME_REAL                   2007
#define MX_PARAM_MIP_METHOD                         2001
#define MX_PARAM_MIP_MIR                            2037
#define MX_PARAM_MIP_MULTISTART                     2046
#define MX_PARAM_MIP_NODEALG                        2032
#define MX_PARAM_MIP_NUMTHREADS                     2048
#define MX_PARAM_MIP_OPT_GAP_ABS                    2004
#define MX_PARAM_MIP_OPT_GAP_REL                    2005
#define MX_PARAM_MIP_OUTINTERVAL                    2011
#define MX_PARAM_MIP_OUTLEVEL                       2010
#define MX_PARAM_MIP_OUTSUB                         2012
#define MX_PARAM_MIP_PSEUDOINIT                     2026
#define MX_PARAM_MIP_RELAXABLE                      2031
#define MX_PARAM_MIP_RESTART                        2050
#define MX_PARAM_MIP_ROOTALG                        2018
#define MX_PARAM_MIP_ROUNDING                       2017
#define MX_PARAM_MIP_SELECTDIR                      2034
#define MX_PARAM_MIP_SELECTRULE                     2003
#define MX_PARAM_MIP_SKIPFACTOR                     4004
#define MX_PARAM_MIP_STRONG_CANDLIM                 2028
#define MX_PARAM_MIP_STRONG_LEVEL                   2029
#define MX_PARAM_MIP_STRONG_MAXIT                   2027
#define MX_PARAM_MIP_TERMINATE                      2020
#define MX_PARAM_MIP_ZEROHALF                       2036
#define MX_PARAM_MS_DETERMINISTIC                   1078
#define MX_PARAM_MS_ENABLE                          1033
#define MX_PARAM_MS_INITPT_CLUSTER                  1149
#define MX_PARAM_MS_MAXBNDRANGE                     1035
#define MX_PARAM_MS_MAXSOLVES                       1034
#define MX_PARAM_MS_MAXTIME_CPU                     1036
#define MX_PARAM_MS_MAXTIME_REAL                    1037
#define MX_PARAM_MS_NUM_TO_SAVE                     1051
#define MX_PARAM_MS_NUMTHREADS                      1137
#define MX_PARAM_MS_OUTSUB                          1068
#define MX_PARAM_MS_SAVETOL                         1052
#define MX_PARAM_MS_SEED                            1066
#define MX_PARAM_MS_STARTPTRANGE                    1055
#define MX_PARAM_MS_TERMINATE                       1054
#define MX_PARAM_MS_TERMINATERULE_TOL               1160
#define MX_PARAM_NCVX_QCQP_INIT                     1139
#define MX_PARAM_NEWPOINT                           1001
#define MX_PARAM_NUMTHREADS                         1133
#define MX_PARAM_OBJRANGE                           1026
#define MX_PARAM_OPTTOL                             1027
#define MX_PARAM_OPTTOL_ABS                         1028
#define MX_PARAM_OUT_CSVINFO                        1096
#define MX_PARAM_OUT_CSVNAME                        1106
#define MX_PARAM_OUT_HINTS                          1115
#define MX_PARAM_OUT_JSONINFO                       4008
#define MX_PARAM_OUT_JSONNAME                       4009
#define MX_PARAM_OUTAPPEND                          1046
#define MX_PARAM_OUTDIR                             1047
#define MX_PARAM_OUTLEV                             1015
#define MX_PARAM_OUTMODE                            1016
#define MX_PARAM_OUTNAME                            1105
#define MX_PARAM_PRESOLVE                           1059
#define MX_PARAM_PRESOLVE_DBG                       1053
#define MX_PARAM_PRESOLVE_INITPT                    1127
#define MX_PARAM_PRESOLVE_LEVEL                     1122
#define MX_PARAM_PRESOLVE_PASSES                    1121
#define MX_PARAM_PRESOLVE_TOL                       1060
#define MX_PARAM_PRESOLVEOP_BIGM                    4012
#define MX_PARAM_PRESOLVEOP_REDUNDANT               1143
#define MX_PARAM_PRESOLVEOP_SUBSTITUTION            1146
#define MX_PARAM_PRESOLVEOP_SUBSTITUTION_FILLIN     1157
#define MX_PARAM_PRESOLVEOP_SUBSTITUTION_TOL        1147
#define MX_PARAM_PRESOLVEOP_SUBSTITUTION_ZERO_TOL   1148
#define MX_PARAM_PRESOLVEOP_TIGHTEN                 1125
#define MX_PARAM_PRESOLVEOP_VARBND_ABS_MAX_VAL      1151
#define MX_PARAM_PRESOLVEOP_VARBND_DROP_REDUNDANT   1152
#define MX_PARAM_PRESOLVEOP_VARBND_REL_MIN_CHANGE   1150
#define MX_PARAM_RESTARTS                           1100
#define MX_PARAM_RESTARTS_MAXIT                     1101
#define MX_PARAM_SCALE                              1017
#define MX_PARAM_SCALE_VARS                         1153
#define MX_PARAM_SIMPLEX_MAXIT                      4001
#define MX_PARAM_SOC                                1019
#define MX_PARAM_STRAT_WARM_START                   1118
#define MX_PARAM_TUNER                              1070
#define MX_PARAM_TUNER_MAXTIME_CPU                  1072
#define MX_PARAM_TUNER_MAXTIME_REAL                 1073
#define MX_PARAM_TUNER_OPTIONSFILE                  1071
#define MX_PARAM_TUNER_OUTSUB                       1074
#define MX_PARAM_TUNER_TERMINATE                    1075
#define MX_PARAM_XPRESSLIBNAME                      1069
#define MX_PARAM_XTOL                               1030
#define MX_PARAM_XTOL_ITERS                         1094

/* Old ids: accepted with a warning and mapped to the new option, except
 * MX_PARAM_SHIFTINIT, which is refused with a warning. */
#define MX_PARAM_PAR_NUMTHREADS                     3001
#define MX_PARAM_PAR_CONCURRENT_EVALS               3002
#define MX_PARAM_PAR_BLASNUMTHREADS                 3003
#define MX_PARAM_PAR_LSNUMTHREADS                   3004
#define MX_PARAM_PAR_MSNUMTHREADS                   3005
#define MX_PARAM_PAR_CONICNUMTHREADS                3006
#define MX_PARAM_SHIFTINIT                          1018

/* @@OPTION-CALLS@@ */
/* ------------------------------------------------------------------------
 * Options
 *
 * Every option has an id (MX_PARAM_*), a name and a type. Setters store the
 * value without a range test; an illegal value is reported when a solve
 * starts. Setters return -515 with a warning while a solve runs in the
 * context. Unknown ids and names, and a value of the wrong type, return
 * -521. Text results are cut to bufferSize - 1 characters and terminated.
 * Each MXL_ call is the same call for a context made by MXL_new.
 * ---------------------------------------------------------------------- */
#define MX_PARAMTYPE_INTEGER 0
#define MX_PARAMTYPE_FLOAT   1
#define MX_PARAMTYPE_STRING  2
#define MX_PARAMTYPE_ENUM    3

/* Sets an integer or enum option. outlev above 6 is stored as 6 and outmode
 * is kept within 0..2. Id 999, outside the table, sets the id that the
 * multi-start report carries. */
MX_EXPORT int MX_set_int_param(MX_context_ptr mx, int param_id, int value);
/* Sets a double option. */
MX_EXPORT int MX_set_double_param(MX_context_ptr mx, int param_id, double value);
/* Sets a string option to a copy of value; NULL or "" unsets it. */
MX_EXPORT int MX_set_char_param(MX_context_ptr mx, int param_id, const char *value);
/* Read the value of an integer or enum option, or of a double option. */
MX_EXPORT int MX_get_int_param(MX_context_ptr mx, int param_id, int *value);
MX_EXPORT int MX_get_double_param(MX_context_ptr mx, int param_id, double *value);

/* The same by option name; old names are accepted in any case. */
MX_EXPORT int MX_set_int_param_by_name(MX_context_ptr mx, const char *name, int value);
MX_EXPORT int MX_set_double_param_by_name(MX_context_ptr mx, const char *name, double value);
MX_EXPORT int MX_set_char_param_by_name(MX_context_ptr mx, const char *name, const char *value);
MX_EXPORT int MX_get_int_param_by_name(MX_context_ptr mx, const char *name, int *value);
MX_EXPORT int MX_get_double_param_by_name(MX_context_ptr mx, const char *name, double *value);
/* Sets a numeric option of any type by name: the value is truncated to an
 * integer for integer and enum options. */
MX_EXPORT int MX_set_param_by_name(MX_context_ptr mx, const char *name, double value);

/* The option name of an id. */
MX_EXPORT int MX_get_param_name(MX_context_ptr mx, int param_id, char *buffer, int bufferSize);
/* The one-line description of an option. */
MX_EXPORT int MX_get_param_doc(MX_context_ptr mx, int param_id, char *buffer, int bufferSize);
/* The type of an option, one of MX_PARAMTYPE_*. */
MX_EXPORT int MX_get_param_type(MX_context_ptr mx, int param_id, int *param_type);
/* The number of listed values of an enum option; 0 for other types. */
MX_EXPORT int MX_get_num_param_values(MX_context_ptr mx, int param_id, int *num_values);
/* "value (name): description" of one value of an enum option. */
MX_EXPORT int MX_get_param_value_doc(MX_context_ptr mx, int param_id, int value,
                                     char *buffer, int bufferSize);
/* The same for the listed value at value_index, 0 <= value_index <
 * MX_get_num_param_values(). */
MX_EXPORT int MX_get_param_value_doc_from_index(MX_context_ptr mx, int param_id,
                                                int value_index, char *buffer,
                                                int bufferSize);
/* The id of an option name (exact, lower case; old names with a warning). */
MX_EXPORT int MX_get_param_id(MX_context_ptr mx, const char *name, int *param_id);
/* The id of the option at param_index in name order, 0 <= param_index < 216;
 * otherwise *param_id is -1 and the result -521. */
MX_EXPORT int MX_get_param_id_from_index(MX_context_ptr mx, int param_index, int *param_id);
/* Writes the description of all options as JSON to filename. */
MX_EXPORT int MX_write_param_desc_file(MX_context_ptr mx, const char *filename);

MX_EXPORT int MXL_set_int_param(MXL_context_ptr mx, int param_id, int value);
MX_EXPORT int MXL_set_double_param(MXL_context_ptr mx, int param_id, double value);
MX_EXPORT int MXL_set_char_param(MXL_context_ptr mx, int param_id, const char *value);
MX_EXPORT int MXL_get_int_param(MXL_context_ptr mx, int param_id, int *value);
MX_EXPORT int MXL_get_double_param(MXL_context_ptr mx, int param_id, double *value);
MX_EXPORT int MXL_set_int_param_by_name(MXL_context_ptr mx, const char *name, int value);
MX_EXPORT int MXL_set_double_param_by_name(MXL_context_ptr mx, const char *name, double value);
MX_EXPORT int MXL_set_char_param_by_name(MXL_context_ptr mx, const char *name, const char *value);
MX_EXPORT int MXL_get_int_param_by_name(MXL_context_ptr mx, const char *name, int *value);
MX_EXPORT int MXL_get_double_param_by_name(MXL_context_ptr mx, const char *name, double *value);
MX_EXPORT int MXL_set_param_by_name(MXL_context_ptr mx, const char *name, double value);
MX_EXPORT int MXL_get_param_name(MXL_context_ptr mx, int param_id, char *buffer, int bufferSize);
MX_EXPORT int MXL_get_param_doc(MXL_context_ptr mx, int param_id, char *buffer, int bufferSize);
MX_EXPORT int MXL_get_param_type(MXL_context_ptr mx, int param_id, int *param_type);
MX_EXPORT int MXL_get_num_param_values(MXL_context_ptr mx, int param_id, int *num_values);
MX_EXPORT int MXL_get_param_value_doc(MXL_context_ptr mx, int param_id, int value,
                                      char *buffer, int bufferSize);
MX_EXPORT int MXL_get_param_value_doc_from_index(MXL_context_ptr mx, int param_id,
                                                 int value_index, char *buffer,
                                                 int bufferSize);
MX_EXPORT int MXL_get_param_id(MXL_context_ptr mx, const char *name, int *param_id);
MX_EXPORT int MXL_get_param_id_from_index(MXL_context_ptr mx, int param_index, int *param_id);
MX_EXPORT int MXL_write_param_desc_file(MXL_context_ptr mx, const char *filename);

/* Reads options from a text file: one option per line, its name and its
 * value (a number, with 0x for hex, or the name of an enum value in any
 * case); blank lines and text after '#' are skipped. A bad line prints its
 * error and leaves that option as it was; the other lines apply and the
 * call returns -521 at the end. A file that cannot be read returns -505.
 * When the file sets tuner_optionsfile, that tuner file is read as well. */
MX_EXPORT int MX_load_param_file(MX_context_ptr mx, const char *filename);
/* Writes every option to filename in the form MX_load_param_file reads.
 * String values are written as one token. */
MX_EXPORT int MX_save_param_file(MX_context_ptr mx, const char *filename);
/* Reads the options and values the tuner is to try: one option per line
 * followed by its values, or an enum option alone to try all its values. */
MX_EXPORT int MX_load_tuner_file(MX_context_ptr mx, const char *filename);
/* Prints each option that differs from its default as "name value". */
MX_EXPORT int MX_print_options(MX_context_ptr mx);
MX_EXPORT int MXL_load_param_file(MXL_context_ptr mx, const char *filename);
MX_EXPORT int MXL_save_param_file(MXL_context_ptr mx, const char *filename);
MX_EXPORT int MXL_load_tuner_file(MXL_context_ptr mx, const char *filename);
MX_EXPORT int MXL_print_options(MXL_context_ptr mx);

/* @@STRUCTURE-CALLS@@ */

/* ------------------------------------------------------------------------
 * Evaluation callbacks
 *
 * A callback covers the objective (evalObj), a list of constraints, or a
 * list of residuals. The solver calls its routines with a request and a
 * result record; the routine writes in compact form, in the order of the
 * callback's own lists and patterns, and the solver adds the values into
 * the model. Linear, quadratic and L2-norm terms given as structure are added
 * by the solver on top of what callbacks return.
 * ---------------------------------------------------------------------- */

typedef struct MXCB MX_cb_context;
typedef MX_cb_context *MX_cb_context_ptr;

/* Evaluation types (MX_eval_request.type). */
#define MX_EVALTYPE_FC        1  /* objective and constraint values */
#define MX_EVALTYPE_GA        2  /* first derivatives */
#define MX_EVALTYPE_H         3  /* Hessian of the Lagrangian */
#define MX_EVALTYPE_HV        7  /* Hessian-vector product */
#define MX_EVALTYPE_H_NO_F    8  /* Hessian without the objective part */
#define MX_EVALTYPE_HV_NO_F   9  /* product without the objective part */
#define MX_EVALTYPE_RSD      10  /* residuals */
#define MX_EVALTYPE_RSDJAC   11  /* residual Jacobian */
#define MX_EVALTYPE_FCGA     12  /* values and first derivatives in one call */

/* Gradient modes of a callback (MX_set_cb_gradopt). */
#define MX_GRADOPT_EXACT        1
#define MX_GRADOPT_FORWARD      2
#define MX_GRADOPT_CENTRAL      3
#define MX_GRADOPT_USER_FORWARD 4
#define MX_GRADOPT_USER_CENTRAL 5

/* Dense pattern forms for the nnzJ and nnzH arguments. MX_DENSE_ROWMAJOR
 * lists a Jacobian constraint by constraint (each over all variables) and
 * a Hessian upper triangle row by row; MX_DENSE_COLMAJOR lists a Jacobian
 * variable by variable and a Hessian upper triangle column by column. */
#define MX_DENSE_ROWMAJOR -2
#define MX_DENSE_COLMAJOR -3

/* What the solver asks for. x has n entries; lambda (m + n entries,
 * constraints first) and sigma are set for Hessian requests; vec (n) for
 * Hessian-vector products. threadID numbers the calling thread. */
typedef struct MX_eval_request {
  int type;
  int threadID;
  const double *x;
  const double *lambda;
  const double *sigma;
  const double *vec;
} MX_eval_request, *MX_eval_request_ptr;

/* Where the routine writes. Only the arrays of the request's type are set:
 * obj and c for types 1 and 12; objGrad and jac (in the order of the
 * callback's patterns) for types 2 and 12; hess for types 3 and 8; hessVec
 * (n) for types 7 and 9; rsd for type 10; rsdJac for type 11. */
typedef struct MX_eval_result {
  double *obj;
  double *c;
  double *objGrad;
  double *jac;
  double *hess;
  double *hessVec;
  double *rsd;
  double *rsdJac;
} MX_eval_result, *MX_eval_result_ptr;

/* A user routine. Return 0 (or a positive value) on success, -502
 * (MX_RC_EVAL_ERR) when the functions are not defined at x, -504
 * (MX_RC_USER_TERMINATION) to stop the solve; any other negative value is a
 * hard failure (the solve ends with -500). */
typedef int MX_cb_routine(MX_context_ptr kc, MX_cb_context_ptr cb,
                          MX_eval_request_ptr evalRequest,
                          MX_eval_result_ptr evalResult, void *userParams);

/* Adds a callback for the objective (evalObj non-zero) and the nC listed
 * constraints (each at most once); *cb receives the callback. Not after a
 * solve. Two callbacks on one constraint add their values. The _all form
 * covers the objective and every constraint, the _one form one constraint. */
MX_EXPORT int MX_add_eval_callback(MX_context_ptr kc, const int evalObj, const int nC, const int *indexCons, MX_cb_routine *funcCallback, MX_cb_context_ptr *cb);
MX_EXPORT int MX_add_eval_callback_all(MX_context_ptr kc, MX_cb_routine *funcCallback, MX_cb_context_ptr *cb);
MX_EXPORT int MX_add_eval_callback_one(MX_context_ptr kc, const int indexCon, MX_cb_routine *funcCallback, MX_cb_context_ptr *cb);
/* The same for residuals of a least-squares model. */
MX_EXPORT int MX_add_lsq_eval_callback(MX_context_ptr kc, const int nR, const int *indexRsds, MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb);
MX_EXPORT int MX_add_lsq_eval_callback_all(MX_context_ptr kc, MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb);
MX_EXPORT int MX_add_lsq_eval_callback_one(MX_context_ptr kc, const int indexRsd, MX_cb_routine *rsdCallback, MX_cb_context_ptr *cb);

/* First-derivative patterns and routine, once per callback, not after a
 * solve. nV = -1: the gradient is dense over all variables. nnzJ may be
 * MX_DENSE_ROWMAJOR or MX_DENSE_COLMAJOR. gradCallback may be NULL when
 * derivatives are computed by differences. */
MX_EXPORT int MX_set_cb_grad(MX_context_ptr kc, MX_cb_context_ptr cb, const int nV, const int *objGradIndexVars, const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars, MX_cb_routine *gradCallback);
/* Hessian pattern (upper triangle: hessIndexVars1[k] <= hessIndexVars2[k])
 * and routine, once per callback; nnzH may be a dense form. */
MX_EXPORT int MX_set_cb_hess(MX_context_ptr kc, MX_cb_context_ptr cb, const MX_nnz nnzH, const int *hessIndexVars1, const int *hessIndexVars2, MX_cb_routine *hessCallback);
/* Residual Jacobian pattern and routine, once per callback. */
MX_EXPORT int MX_set_cb_rsd_jac(MX_context_ptr kc, MX_cb_context_ptr cb, const MX_nnz nnzJ, const int *jacIndexRsds, const int *jacIndexVars, MX_cb_routine *rsdJacCallback);

MX_EXPORT int MX_set_cb_user_params(MX_context_ptr kc, MX_cb_context_ptr cb, void *userParams);
/* MX_GRADOPT_* for this callback. */
MX_EXPORT int MX_set_cb_gradopt(MX_context_ptr kc, MX_cb_context_ptr cb, const int gradopt);
/* Relative finite-difference steps of this callback, per variable. */
MX_EXPORT int MX_set_cb_relstepsizes(MX_context_ptr kc, MX_cb_context_ptr cb, const int nV, const int *indexVars, const double *xRelStepSizes);
MX_EXPORT int MX_set_cb_relstepsizes_all(MX_context_ptr kc, MX_cb_context_ptr cb, const double *xRelStepSizes);
MX_EXPORT int MX_set_cb_relstepsize(MX_context_ptr kc, MX_cb_context_ptr cb, const int indexVar, const double xRelStepSize);

/* Counts of a callback; dense patterns report their full size. */
MX_EXPORT int MX_get_cb_number_cons(MX_context_ptr kc, MX_cb_context_ptr cb, int *const numCons);
MX_EXPORT int MX_get_cb_number_rsds(MX_context_ptr kc, MX_cb_context_ptr cb, int *const numRsds);
MX_EXPORT int MX_get_cb_objgrad_nnz(MX_context_ptr kc, MX_cb_context_ptr cb, MX_nnz *const nnz);
MX_EXPORT int MX_get_cb_jacobian_nnz(MX_context_ptr kc, MX_cb_context_ptr cb, MX_nnz *const nnz);
MX_EXPORT int MX_get_cb_rsd_jacobian_nnz(MX_context_ptr kc, MX_cb_context_ptr cb, MX_nnz *const nnz);
MX_EXPORT int MX_get_cb_hessian_nnz(MX_context_ptr kc, MX_cb_context_ptr cb, MX_nnz *const nnz);

/* ------------------------------------------------------------------------
 * Other user hooks, one routine and one user pointer each
 * ---------------------------------------------------------------------- */

/* Called with the current x and lambda (m + n): at each accepted iterate
 * (new point), at each mixed-integer node, after each multi-start solve, or
 * to add user cuts and lazy constraints. A negative return stops the solve:
 * -504 as a user stop, anything else as a failure (-500). */
typedef int MX_user_callback(MX_context_ptr kc, const double *x, const double *lambda, void *userParams);
/* Fills the start point x (and, if wanted, lambda) of multi-start solve
 * number nSolveNumber within the given variable bounds. */
typedef int MX_ms_initpt_callback(MX_context_ptr kc, const int nSolveNumber, const double *xLoBnds, const double *xUpBnds, double *x, double *lambda, void *userParams);

/* Phases of a linear solve handed to a user linear solver. */
#define MX_LINSOLVER_PHASE_INIT     1
#define MX_LINSOLVER_PHASE_ANALYZE  2
#define MX_LINSOLVER_PHASE_FACTOR   3
#define MX_LINSOLVER_PHASE_SOLVE    4

/* A symmetric system (upper triangle, compressed by rows) and, for the
 * solve phase, its right-hand side. n11 is the size of the leading block
 * whose pivots count as the system's positive part. */
typedef struct MX_linsys_request {
  int phase;
  int linsysID;
  int n;
  int n11;
  MX_nnz nnz;
  const double *values;
  const int *indexCols;
  const MX_nnz *rowPtr;
  const double *rhs;
} MX_linsys_request, *MX_linsys_request_ptr;

/* The routine writes the solution (solve phase) and the number of negative
 * eigenvalues (factorization phase; -1 when unknown). */
typedef struct MX_linsys_result {
  double *solution;
  int negeig;
} MX_linsys_result, *MX_linsys_result_ptr;

/* Returns 0 on success; -522 in the first phase hands the systems back to
 * the internal solver. */
typedef int MX_linsolver_callback(MX_context_ptr kc, MX_linsys_request_ptr linsysRequest, MX_linsys_result_ptr linsysResult, void *userParams);

MX_EXPORT int MX_set_newpt_callback(MX_context_ptr kc, MX_user_callback *fnPtr, void *userParams);
MX_EXPORT int MX_set_mip_node_callback(MX_context_ptr kc, MX_user_callback *fnPtr, void *userParams);
MX_EXPORT int MX_set_mip_usercuts_callback(MX_context_ptr kc, MX_user_callback *fnPtr, void *userParams);
MX_EXPORT int MX_set_mip_lazyconstraints_callback(MX_context_ptr kc, MX_user_callback *fnPtr, void *userParams);
MX_EXPORT int MX_set_ms_process_callback(MX_context_ptr kc, MX_user_callback *fnPtr, void *userParams);
MX_EXPORT int MX_set_ms_initpt_callback(MX_context_ptr kc, MX_ms_initpt_callback *fnPtr, void *userParams);
/* Receives every printed line (see MX_puts). */
MX_EXPORT int MX_set_puts_callback(MX_context_ptr kc, MX_puts *fnPtr, void *userParams);
MX_EXPORT int MX_set_linsolver_callback(MX_context_ptr kc, MX_linsolver_callback *fnPtr, void *userParams);

/* ------------------------------------------------------------------------
 * Older family: one routine for all requests of a problem loaded through
 * the MXL_ calls. evalRequestCode is an evaluation type above; the arrays
 * are global (n variables, m constraints). The 64 forms take 64-bit counts.
 * ---------------------------------------------------------------------- */
typedef int MXL_callback(const int evalRequestCode, const int n, const int m, const int nnzJ, const int nnzH,
                         const double *x, const double *lambda, double *obj, double *c, double *objGrad,
                         double *jac, double *hessian, double *hessVector, void *userParams);
typedef int MXL_callback64(const int evalRequestCode, const int n, const int m, const MX_nnz nnzJ, const MX_nnz nnzH,
                           const double *x, const double *lambda, double *obj, double *c, double *objGrad,
                           double *jac, double *hessian, double *hessVector, void *userParams);
/* Residuals (and their Jacobian) of a least-squares problem. */
typedef int MXL_lsq_callback(const int n, const int m, const int nnzJ, const double *x, double *rsd,
                             double *jac, void *userParams);
typedef int MXL_lsq_callback64(const int n, const int m, const MX_nnz nnzJ, const double *x, double *rsd,
                               double *jac, void *userParams);
typedef int MXL_user_callback(MXL_context_ptr kc, const double *x, const double *lambda, void *userParams);
typedef int MXL_ms_initpt_callback(const int nSolveNumber, const int n, const double *xLoBnds,
                                   const double *xUpBnds, double *x, void *userParams);

MX_EXPORT int MXL_set_func_callback(MXL_context_ptr kc, MXL_callback *fnPtr);
MX_EXPORT int MXL_set_grad_callback(MXL_context_ptr kc, MXL_callback *fnPtr);
MX_EXPORT int MXL_set_hess_callback(MXL_context_ptr kc, MXL_callback *fnPtr);
MX_EXPORT int MXL_set_func_callback64(MXL_context_ptr kc, MXL_callback64 *fnPtr);
MX_EXPORT int MXL_set_grad_callback64(MXL_context_ptr kc, MXL_callback64 *fnPtr);
MX_EXPORT int MXL_set_hess_callback64(MXL_context_ptr kc, MXL_callback64 *fnPtr);
MX_EXPORT int MXL_set_newpt_callback(MXL_context_ptr kc, MXL_user_callback *fnPtr);
MX_EXPORT int MXL_set_newpoint_callback(MXL_context_ptr kc, MXL_user_callback *fnPtr);
MX_EXPORT int MXL_set_ms_process_callback(MXL_context_ptr kc, MXL_user_callback *fnPtr);
MX_EXPORT int MXL_set_mip_node_callback(MXL_context_ptr kc, MXL_user_callback *fnPtr);
MX_EXPORT int MXL_set_ms_initpt_callback(MXL_context_ptr kc, MXL_ms_initpt_callback *fnPtr);
MX_EXPORT int MXL_lsq_set_res_callback(MXL_context_ptr kc, MXL_lsq_callback *fnPtr);
MX_EXPORT int MXL_lsq_set_jac_callback(MXL_context_ptr kc, MXL_lsq_callback *fnPtr);
MX_EXPORT int MXL_lsq_set_res_callback64(MXL_context_ptr kc, MXL_lsq_callback64 *fnPtr);
MX_EXPORT int MXL_lsq_set_jac_callback64(MXL_context_ptr kc, MXL_lsq_callback64 *fnPtr);

/* ------------------------------------------------------------------------
 * Linear, quadratic and L2-norm structure
 *
 * Terms are appended; several terms of one coordinate add up. A zero
 * coefficient is checked and skipped. Linear terms of constraints and of
 * the objective may be added, deleted (all terms of a coordinate) and
 * changed (replaced) after a solve; delete and change only after a solve.
 * Quadratic terms c * x1 * x2, L2 norms and residual terms are fixed by the
 * first solve.
 * ---------------------------------------------------------------------- */
MX_EXPORT int MX_add_con_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexCons, const int *indexVars, const double *coefs);
MX_EXPORT int MX_add_con_linear_struct_one(MX_context_ptr kc, const MX_nnz nnz, const int indexCon, const int *indexVars, const double *coefs);
MX_EXPORT int MX_add_con_linear_term(MX_context_ptr kc, const int indexCon, const int indexVar, const double coef);
MX_EXPORT int MX_add_obj_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexVars, const double *coefs);
MX_EXPORT int MX_add_obj_linear_term(MX_context_ptr kc, const int indexVar, const double coef);
MX_EXPORT int MX_add_rsd_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexRsds, const int *indexVars, const double *coefs);
MX_EXPORT int MX_add_rsd_linear_struct_one(MX_context_ptr kc, const MX_nnz nnz, const int indexRsd, const int *indexVars, const double *coefs);
MX_EXPORT int MX_add_rsd_linear_term(MX_context_ptr kc, const int indexRsd, const int indexVar, const double coef);

MX_EXPORT int MX_del_con_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexCons, const int *indexVars);
MX_EXPORT int MX_del_con_linear_struct_one(MX_context_ptr kc, const MX_nnz nnz, const int indexCon, const int *indexVars);
MX_EXPORT int MX_del_con_linear_term(MX_context_ptr kc, const int indexCon, const int indexVar);
MX_EXPORT int MX_del_obj_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexVars);
MX_EXPORT int MX_del_obj_linear_term(MX_context_ptr kc, const int indexVar);

MX_EXPORT int MX_chg_con_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexCons, const int *indexVars, const double *coefs);
MX_EXPORT int MX_chg_con_linear_struct_one(MX_context_ptr kc, const MX_nnz nnz, const int indexCon, const int *indexVars, const double *coefs);
MX_EXPORT int MX_chg_con_linear_term(MX_context_ptr kc, const int indexCon, const int indexVar, const double coef);
MX_EXPORT int MX_chg_obj_linear_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexVars, const double *coefs);
MX_EXPORT int MX_chg_obj_linear_term(MX_context_ptr kc, const int indexVar, const double coef);

MX_EXPORT int MX_add_con_quadratic_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexCons, const int *indexVars1, const int *indexVars2, const double *coefs);
MX_EXPORT int MX_add_con_quadratic_struct_one(MX_context_ptr kc, const MX_nnz nnz, const int indexCon, const int *indexVars1, const int *indexVars2, const double *coefs);
MX_EXPORT int MX_add_con_quadratic_term(MX_context_ptr kc, const int indexCon, const int indexVar1, const int indexVar2, const double coef);
MX_EXPORT int MX_add_obj_quadratic_struct(MX_context_ptr kc, const MX_nnz nnz, const int *indexVars1, const int *indexVars2, const double *coefs);
MX_EXPORT int MX_add_obj_quadratic_term(MX_context_ptr kc, const int indexVar1, const int indexVar2, const double coef);

/* Adds ||A x + b||_2 to constraint indexCon, where A (nCoords rows) is
 * given by nnz triplets (indexCoords, indexVars, coefs) and b by constants
 * (NULL: zero). Only on constraints without nonlinear terms. */
MX_EXPORT int MX_add_con_L2norm(MX_context_ptr kc, const int indexCon, const int nCoords, const MX_nnz nnz, const int *indexCoords, const int *indexVars, const double *coefs, const double *constants);

/* @@MODEL-CALLS@@ */

/* ------------------------------------------------------------------------
 * Model size
 * ---------------------------------------------------------------------- */

/* Add nV variables (nC constraints, nR residuals). On return indexVars, when
 * not NULL, holds the new indices: the old count and up. A count of 0 only
 * marks the family as added. Residuals cannot be added after a solve. */
MX_EXPORT int MX_add_vars(MX_context_ptr kc, const int nV, int *const indexVars);
MX_EXPORT int MX_add_var(MX_context_ptr kc, int *const indexVar);
MX_EXPORT int MX_add_cons(MX_context_ptr kc, const int nC, int *const indexCons);
MX_EXPORT int MX_add_con(MX_context_ptr kc, int *const indexCon);
MX_EXPORT int MX_add_rsds(MX_context_ptr kc, const int nR, int *const indexRsds);
MX_EXPORT int MX_add_rsd(MX_context_ptr kc, int *const indexRsd);


/* ------------------------------------------------------------------------
 * Variables
 *
 * Each family has three forms: the base form with a count, an index array and
 * a value array; the _all form with one value per variable; the single form.
 * A bad count, pointer, index or value is fatal for the context (-515 after).
 * ---------------------------------------------------------------------- */

/* Bounds; non-finite values are refused (-514). Fixed bounds set both. */
MX_EXPORT int MX_set_var_lobnds(MX_context_ptr kc, const int nV, const int *indexVars, const double *xLoBnds);
MX_EXPORT int MX_set_var_lobnds_all(MX_context_ptr kc, const double *xLoBnds);
MX_EXPORT int MX_set_var_lobnd(MX_context_ptr kc, const int indexVar, const double xLoBnd);

MX_EXPORT int MX_set_var_upbnds(MX_context_ptr kc, const int nV, const int *indexVars, const double *xUpBnds);
MX_EXPORT int MX_set_var_upbnds_all(MX_context_ptr kc, const double *xUpBnds);
MX_EXPORT int MX_set_var_upbnd(MX_context_ptr kc, const int indexVar, const double xUpBnd);

MX_EXPORT int MX_set_var_fxbnds(MX_context_ptr kc, const int nV, const int *indexVars, const double *xFxBnds);
MX_EXPORT int MX_set_var_fxbnds_all(MX_context_ptr kc, const double *xFxBnds);
MX_EXPORT int MX_set_var_fxbnd(MX_context_ptr kc, const int indexVar, const double xFxBnd);

/* Types MX_VARTYPE_*; binary also sets the bounds to [0, 1]. */
MX_EXPORT int MX_set_var_types(MX_context_ptr kc, const int nV, const int *indexVars, const int *xTypes);
MX_EXPORT int MX_set_var_types_all(MX_context_ptr kc, const int *xTypes);
MX_EXPORT int MX_set_var_type(MX_context_ptr kc, const int indexVar, const int xType);

/* Properties (MX_VAR_LINEAR); not allowed after a solve. */
MX_EXPORT int MX_set_var_properties(MX_context_ptr kc, const int nV, const int *indexVars, const int *varProperties);
MX_EXPORT int MX_set_var_properties_all(MX_context_ptr kc, const int *varProperties);
MX_EXPORT int MX_set_var_property(MX_context_ptr kc, const int indexVar, const int varProperty);

/* Initial primal values; non-finite entries are skipped with a warning. */
MX_EXPORT int MX_set_var_primal_init_values(MX_context_ptr kc, const int nV, const int *indexVars, const double *xInitVals);
MX_EXPORT int MX_set_var_primal_init_values_all(MX_context_ptr kc, const double *xInitVals);
MX_EXPORT int MX_set_var_primal_init_value(MX_context_ptr kc, const int indexVar, const double xInitVal);

/* Initial multipliers of the bounds. */
MX_EXPORT int MX_set_var_dual_init_values(MX_context_ptr kc, const int nV, const int *indexVars, const double *lambdaInitVals);
MX_EXPORT int MX_set_var_dual_init_values_all(MX_context_ptr kc, const double *lambdaInitVals);
MX_EXPORT int MX_set_var_dual_init_value(MX_context_ptr kc, const int indexVar, const double lambdaInitVal);

/* Feasibility tolerances of the bounds. */
MX_EXPORT int MX_set_var_feastols(MX_context_ptr kc, const int nV, const int *indexVars, const double *xFeasTols);
MX_EXPORT int MX_set_var_feastols_all(MX_context_ptr kc, const double *xFeasTols);
MX_EXPORT int MX_set_var_feastol(MX_context_ptr kc, const int indexVar, const double xFeasTol);

/* Honor-bound flags MX_HONORBNDS_NO, _ALWAYS, _INITPT. */
MX_EXPORT int MX_set_var_honorbnds(MX_context_ptr kc, const int nV, const int *indexVars, const int *honorBnds);
MX_EXPORT int MX_set_var_honorbnds_all(MX_context_ptr kc, const int *honorBnds);
MX_EXPORT int MX_set_var_honorbnd(MX_context_ptr kc, const int indexVar, const int honorBnd);

/* Scalings x = factor * xs + center; either array may be NULL, not both.
 * A non-positive factor is replaced by 1.0 with a warning. */
MX_EXPORT int MX_set_var_scalings(MX_context_ptr kc, const int nV, const int *indexVars, const double *xScaleFactors, const double *xScaleCenters);
MX_EXPORT int MX_set_var_scalings_all(MX_context_ptr kc, const double *xScaleFactors, const double *xScaleCenters);
MX_EXPORT int MX_set_var_scaling(MX_context_ptr kc, const int indexVar, const double xScaleFactor, const double xScaleCenter);

/* Names; each string is copied. */
MX_EXPORT int MX_set_var_names(MX_context_ptr kc, const int nV, const int *indexVars, char *const xNames[]);
MX_EXPORT int MX_set_var_names_all(MX_context_ptr kc, char *const xNames[]);
MX_EXPORT int MX_set_var_name(MX_context_ptr kc, const int indexVar, char *const xName);


/* ------------------------------------------------------------------------
 * Constraints
 * ---------------------------------------------------------------------- */

/* Bounds; non-finite values are refused (-513). Equality bounds set both. */
MX_EXPORT int MX_set_con_lobnds(MX_context_ptr kc, const int nC, const int *indexCons, const double *cLoBnds);
MX_EXPORT int MX_set_con_lobnds_all(MX_context_ptr kc, const double *cLoBnds);
MX_EXPORT int MX_set_con_lobnd(MX_context_ptr kc, const int indexCon, const double cLoBnd);

MX_EXPORT int MX_set_con_upbnds(MX_context_ptr kc, const int nC, const int *indexCons, const double *cUpBnds);
MX_EXPORT int MX_set_con_upbnds_all(MX_context_ptr kc, const double *cUpBnds);
MX_EXPORT int MX_set_con_upbnd(MX_context_ptr kc, const int indexCon, const double cUpBnd);

MX_EXPORT int MX_set_con_eqbnds(MX_context_ptr kc, const int nC, const int *indexCons, const double *cEqBnds);
MX_EXPORT int MX_set_con_eqbnds_all(MX_context_ptr kc, const double *cEqBnds);
MX_EXPORT int MX_set_con_eqbnd(MX_context_ptr kc, const int indexCon, const double cEqBnd);

/* Initial multipliers. */
MX_EXPORT int MX_set_con_dual_init_values(MX_context_ptr kc, const int nC, const int *indexCons, const double *lambdaInitVals);
MX_EXPORT int MX_set_con_dual_init_values_all(MX_context_ptr kc, const double *lambdaInitVals);
MX_EXPORT int MX_set_con_dual_init_value(MX_context_ptr kc, const int indexCon, const double lambdaInitVal);

/* Feasibility tolerances. */
MX_EXPORT int MX_set_con_feastols(MX_context_ptr kc, const int nC, const int *indexCons, const double *cFeasTols);
MX_EXPORT int MX_set_con_feastols_all(MX_context_ptr kc, const double *cFeasTols);
MX_EXPORT int MX_set_con_feastol(MX_context_ptr kc, const int indexCon, const double cFeasTol);

/* Scale factors; a non-positive factor is ignored with a warning. */
MX_EXPORT int MX_set_con_scalings(MX_context_ptr kc, const int nC, const int *indexCons, const double *cScaleFactors);
MX_EXPORT int MX_set_con_scalings_all(MX_context_ptr kc, const double *cScaleFactors);
MX_EXPORT int MX_set_con_scaling(MX_context_ptr kc, const int indexCon, const double cScaleFactor);

/* Honor-bound flags 0 or 1. */
MX_EXPORT int MX_set_con_honorbnds(MX_context_ptr kc, const int nC, const int *indexCons, const int *honorBnds);
MX_EXPORT int MX_set_con_honorbnds_all(MX_context_ptr kc, const int *honorBnds);
MX_EXPORT int MX_set_con_honorbnd(MX_context_ptr kc, const int indexCon, const int honorBnd);

/* Properties: bit MX_CON_CONVEX or MX_CON_NONCONVEX; not after a solve. */
MX_EXPORT int MX_set_con_properties(MX_context_ptr kc, const int nC, const int *indexCons, const int *cProperties);
MX_EXPORT int MX_set_con_properties_all(MX_context_ptr kc, const int *cProperties);
MX_EXPORT int MX_set_con_property(MX_context_ptr kc, const int indexCon, const int cProperty);

/* Names; each string is copied. */
MX_EXPORT int MX_set_con_names(MX_context_ptr kc, const int nC, const int *indexCons, char *const cNames[]);
MX_EXPORT int MX_set_con_names_all(MX_context_ptr kc, char *const cNames[]);
MX_EXPORT int MX_set_con_name(MX_context_ptr kc, const int indexCon, char *const cName);


/* ------------------------------------------------------------------------
 * Constants
 *
 * Added at once before the first solve. After a solve, additions, deletions
 * and changes are kept pending and take effect at the next solve; delete and
 * change calls are allowed only after a solve.
 * ---------------------------------------------------------------------- */

/* Constraint constants c(x) + constant. */
MX_EXPORT int MX_add_con_constants(MX_context_ptr kc, const int nC, const int *indexCons, const double *constants);
MX_EXPORT int MX_add_con_constants_all(MX_context_ptr kc, const double *constants);
MX_EXPORT int MX_add_con_constant(MX_context_ptr kc, const int indexCon, const double constant);

MX_EXPORT int MX_chg_con_constants(MX_context_ptr kc, const int nC, const int *indexCons, const double *constants);
MX_EXPORT int MX_chg_con_constants_all(MX_context_ptr kc, const double *constants);
MX_EXPORT int MX_chg_con_constant(MX_context_ptr kc, const int indexCon, const double constant);

MX_EXPORT int MX_del_con_constants(MX_context_ptr kc, const int nC, const int *indexCons);
MX_EXPORT int MX_del_con_constants_all(MX_context_ptr kc);
MX_EXPORT int MX_del_con_constant(MX_context_ptr kc, const int indexCon);

/* Residual constants, always added at once. */
MX_EXPORT int MX_add_rsd_constants(MX_context_ptr kc, const int nR, const int *indexRsds, const double *constants);
MX_EXPORT int MX_add_rsd_constants_all(MX_context_ptr kc, const double *constants);
MX_EXPORT int MX_add_rsd_constant(MX_context_ptr kc, const int indexRsd, const double constant);


/* ------------------------------------------------------------------------
 * Complementarity
 * ---------------------------------------------------------------------- */

/* Declares all pairs at once (only one call): x1 >= 0, x2 >= 0, x1 * x2 = 0,
 * type MX_CCTYPE_VAR; each variable in at most one pair. The list is checked
 * whole before anything is stored. */
MX_EXPORT int MX_set_compcons(MX_context_ptr kc, const int nCC, const int *ccTypes, const int *indexComps1, const int *indexComps2);

/* Feasibility tolerances of the pairs. */
MX_EXPORT int MX_set_compcon_feastols(MX_context_ptr kc, const int nCC, const int *indexCompCons, const double *ccFeasTols);
MX_EXPORT int MX_set_compcon_feastols_all(MX_context_ptr kc, const double *ccFeasTols);
MX_EXPORT int MX_set_compcon_feastol(MX_context_ptr kc, const int indexCompCon, const double ccFeasTol);

/* Scale factors of the pairs. */
MX_EXPORT int MX_set_compcon_scalings(MX_context_ptr kc, const int nCC, const int *indexCompCons, const double *ccScaleFactors);
MX_EXPORT int MX_set_compcon_scalings_all(MX_context_ptr kc, const double *ccScaleFactors);
MX_EXPORT int MX_set_compcon_scaling(MX_context_ptr kc, const int indexCompCon, const double ccScaleFactor);

MX_EXPORT int MX_set_compcon_names(MX_context_ptr kc, const int nCC, const int *indexCompCons, char *const ccNames[]);
MX_EXPORT int MX_set_compcon_names_all(MX_context_ptr kc, char *const ccNames[]);
MX_EXPORT int MX_set_compcon_name(MX_context_ptr kc, const int indexCompCon, char *const ccName);


/* ------------------------------------------------------------------------
 * Objective
 * ---------------------------------------------------------------------- */

/* MX_OBJGOAL_MINIMIZE or MX_OBJGOAL_MAXIMIZE. */
MX_EXPORT int MX_set_obj_goal(MX_context_ptr kc, const int objGoal);
/* MX_OBJ_CONVEX or MX_OBJ_NONCONVEX; not after a solve. */
MX_EXPORT int MX_set_obj_property(MX_context_ptr kc, const int objProperty);
/* Constant term; delete and change only after a solve. */
MX_EXPORT int MX_add_obj_constant(MX_context_ptr kc, const double constant);
MX_EXPORT int MX_del_obj_constant(MX_context_ptr kc);
MX_EXPORT int MX_chg_obj_constant(MX_context_ptr kc, const double constant);
/* Scale factor; a non-positive value means the default. */
MX_EXPORT int MX_set_obj_scaling(MX_context_ptr kc, const double objScaleFactor);
MX_EXPORT int MX_set_obj_name(MX_context_ptr kc, const char *const objName);


/* ------------------------------------------------------------------------
 * Mixed-integer settings
 * ---------------------------------------------------------------------- */

/* Start values for the mixed-integer solver. */
MX_EXPORT int MX_set_mip_var_primal_init_values(MX_context_ptr kc, const int nV, const int *indexVars, const double *xInitVals);
MX_EXPORT int MX_set_mip_var_primal_init_values_all(MX_context_ptr kc, const double *xInitVals);
MX_EXPORT int MX_set_mip_var_primal_init_value(MX_context_ptr kc, const int indexVar, const double xInitVal);

/* Branching priorities: at least 1 for integer, above 0 for binary
 * variables; other values and continuous variables get 0. */
MX_EXPORT int MX_set_mip_branching_priorities(MX_context_ptr kc, const int nV, const int *indexVars, const int *xPriorities);
MX_EXPORT int MX_set_mip_branching_priorities_all(MX_context_ptr kc, const int *xPriorities);
MX_EXPORT int MX_set_mip_branching_priority(MX_context_ptr kc, const int indexVar, const int xPriority);

/* Strategies MX_MIP_INTVAR_STRATEGY_* of integer variables. */
MX_EXPORT int MX_set_mip_intvar_strategies(MX_context_ptr kc, const int nV, const int *indexVars, const int *xStrategies);
MX_EXPORT int MX_set_mip_intvar_strategies_all(MX_context_ptr kc, const int *xStrategies);
MX_EXPORT int MX_set_mip_intvar_strategy(MX_context_ptr kc, const int indexVar, const int xStrategy);


/* ------------------------------------------------------------------------
 * Reading the model
 *
 * Getters report what was stored. A bad argument returns its code but does
 * not poison the context.
 * ---------------------------------------------------------------------- */

MX_EXPORT int MX_get_number_vars(MX_context_ptr kc, int *const n);
MX_EXPORT int MX_get_number_cons(MX_context_ptr kc, int *const n);
MX_EXPORT int MX_get_number_rsds(MX_context_ptr kc, int *const n);
MX_EXPORT int MX_get_number_compcons(MX_context_ptr kc, int *const n);
MX_EXPORT int MX_get_obj_type(MX_context_ptr kc, int *const objType);

MX_EXPORT int MX_get_var_lobnds(MX_context_ptr kc, const int nV, const int *indexVars, double *xLoBnds);
MX_EXPORT int MX_get_var_lobnds_all(MX_context_ptr kc, double *xLoBnds);
MX_EXPORT int MX_get_var_lobnd(MX_context_ptr kc, const int indexVar, double *xLoBnd);
MX_EXPORT int MX_get_var_upbnds(MX_context_ptr kc, const int nV, const int *indexVars, double *xUpBnds);
MX_EXPORT int MX_get_var_upbnds_all(MX_context_ptr kc, double *xUpBnds);
MX_EXPORT int MX_get_var_upbnd(MX_context_ptr kc, const int indexVar, double *xUpBnd);
MX_EXPORT int MX_get_var_fxbnds(MX_context_ptr kc, const int nV, const int *indexVars, double *xFxBnds);
MX_EXPORT int MX_get_var_fxbnds_all(MX_context_ptr kc, double *xFxBnds);
MX_EXPORT int MX_get_var_fxbnd(MX_context_ptr kc, const int indexVar, double *xFxBnd);
MX_EXPORT int MX_get_var_types(MX_context_ptr kc, const int nV, const int *indexVars, int *xTypes);
MX_EXPORT int MX_get_var_types_all(MX_context_ptr kc, int *xTypes);
MX_EXPORT int MX_get_var_type(MX_context_ptr kc, const int indexVar, int *xType);
MX_EXPORT int MX_get_con_lobnds(MX_context_ptr kc, const int nC, const int *indexCons, double *cLoBnds);
MX_EXPORT int MX_get_con_lobnds_all(MX_context_ptr kc, double *cLoBnds);
MX_EXPORT int MX_get_con_lobnd(MX_context_ptr kc, const int indexCon, double *cLoBnd);
MX_EXPORT int MX_get_con_upbnds(MX_context_ptr kc, const int nC, const int *indexCons, double *cUpBnds);
MX_EXPORT int MX_get_con_upbnds_all(MX_context_ptr kc, double *cUpBnds);
MX_EXPORT int MX_get_con_upbnd(MX_context_ptr kc, const int indexCon, double *cUpBnd);
MX_EXPORT int MX_get_con_eqbnds(MX_context_ptr kc, const int nC, const int *indexCons, double *cEqBnds);
MX_EXPORT int MX_get_con_eqbnds_all(MX_context_ptr kc, double *cEqBnds);
MX_EXPORT int MX_get_con_eqbnd(MX_context_ptr kc, const int indexCon, double *cEqBnd);
MX_EXPORT int MX_get_con_types(MX_context_ptr kc, const int nC, const int *indexCons, int *cTypes);
MX_EXPORT int MX_get_con_types_all(MX_context_ptr kc, int *cTypes);
MX_EXPORT int MX_get_con_type(MX_context_ptr kc, const int indexCon, int *cType);

/* Names into caller buffers of bufferSize characters each. Without any
 * name set, returns 0 and leaves the buffers as they are. */
MX_EXPORT int MX_get_var_names(MX_context_ptr kc, const int nV, const int *indexVars, const int bufferSize, char *const xNames[]);
MX_EXPORT int MX_get_var_names_all(MX_context_ptr kc, const int bufferSize, char *const xNames[]);
MX_EXPORT int MX_get_var_name(MX_context_ptr kc, const int indexVar, const int bufferSize, char *const xName);
MX_EXPORT int MX_get_con_names(MX_context_ptr kc, const int nC, const int *indexCons, const int bufferSize, char *const cNames[]);
MX_EXPORT int MX_get_con_names_all(MX_context_ptr kc, const int bufferSize, char *const cNames[]);
MX_EXPORT int MX_get_con_name(MX_context_ptr kc, const int indexCon, const int bufferSize, char *const cName);

/* ------------------------------------------------------------------------
 * Whole models: MPS files and bulk loaders
 * ---------------------------------------------------------------------- */

/* Fills an empty context from an MPS file (free or fixed layout, plain or
 * gzip-compressed). Returns 0, or its own codes: 8 the context is not empty,
 * 16 a model call failed, 32 the file is missing or faulty. */
MX_EXPORT int MX_load_mps_file(MX_context_ptr kc, const char *filename);

/* Writes a linear or quadratic model (no callbacks, residuals or cones) as an
 * MPS file; values keep their full precision. */
MX_EXPORT int MX_write_mps_file(MX_context_ptr kc, const char *filename);

/* Loads a whole model in one call: n variables with objective coefficients
 * and bounds, m constraints with bounds and a sparse Jacobian (nnzJ
 * coordinate entries). The quadratic forms add objective terms
 * coef * x[i] * x[j] (nnzH entries) and constraint terms (nnzQ entries).
 * Not allowed after a solve. Bound arrays may be NULL for the defaults. */
MX_EXPORT int MX_load_lp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                         const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                         const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                         const double *jacCoefs);
MX_EXPORT int MX_load_qp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                         const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                         const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                         const double *jacCoefs, const MX_nnz nnzH, const int *hessIndexVars1,
                         const int *hessIndexVars2, const double *hessCoefs);
MX_EXPORT int MX_load_qcqp(MX_context_ptr kc, const int n, const double *objCoefs, const double *xLoBnds,
                           const double *xUpBnds, const int m, const double *cLoBnds, const double *cUpBnds,
                           const MX_nnz nnzJ, const int *jacIndexCons, const int *jacIndexVars,
                           const double *jacCoefs, const MX_nnz nnzH, const int *hessIndexVars1,
                           const int *hessIndexVars2, const double *hessCoefs, const MX_nnz nnzQ,
                           const int *quadIndexCons, const int *quadIndexVars1, const int *quadIndexVars2,
                           const double *quadCoefs);

/* @@SOLVE-CALLS@@ */
/* ------------------------------------------------------------------------
 * Solving and reading results
 * ---------------------------------------------------------------------- */
/* Solves the model; returns the final return code (0 when algorithm -1 or
 * -2 stops early without failure). */
MX_EXPORT int MX_solve(MX_context_ptr kc);
/* Prepares a changed model as a solve would (patterns, constant terms and
 * the linear values of gradient and Jacobian) without solving. */
MX_EXPORT int MX_update(MX_context_ptr kc);

/* Last return code, objective and, where the pointers are not NULL, x (n)
 * and lambda (m + n: constraints first, then bounds). */
MX_EXPORT int MX_get_solution(MX_context_ptr kc, int *const status, double *const obj, double *const x, double *const lambda);
MX_EXPORT int MX_get_obj_value(MX_context_ptr kc, double *const obj);

/* Counts of the last solve. The MXL_ forms return the value or -516. */
MX_EXPORT int MX_get_number_iters(MX_context_ptr kc, int *const numIters);
MX_EXPORT int MX_get_number_cg_iters(MX_context_ptr kc, int *const numCGiters);
MX_EXPORT int MX_get_number_FC_evals(MX_context_ptr kc, int *const numFCevals);
MX_EXPORT int MX_get_number_GA_evals(MX_context_ptr kc, int *const numGAevals);
MX_EXPORT int MX_get_number_H_evals(MX_context_ptr kc, int *const numHevals);
MX_EXPORT int MX_get_number_HV_evals(MX_context_ptr kc, int *const numHVevals);
MX_EXPORT int MXL_get_number_iters(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_cg_iters(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_FC_evals(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_GA_evals(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_H_evals(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_HV_evals(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_major_iters(MXL_context_ptr kc);
MX_EXPORT int MXL_get_number_minor_iters(MXL_context_ptr kc);

/* Error measures. The MXL_ forms return -516.0 for a bad context. */
MX_EXPORT int MX_get_abs_feas_error(MX_context_ptr kc, double *const absFeasError);
MX_EXPORT int MX_get_rel_feas_error(MX_context_ptr kc, double *const relFeasError);
MX_EXPORT int MX_get_abs_opt_error(MX_context_ptr kc, double *const absOptError);
MX_EXPORT int MX_get_rel_opt_error(MX_context_ptr kc, double *const relOptError);
MX_EXPORT double MXL_get_abs_feas_error(MXL_context_ptr kc);
MX_EXPORT double MXL_get_rel_feas_error(MXL_context_ptr kc);
MX_EXPORT double MXL_get_abs_opt_error(MXL_context_ptr kc);
MX_EXPORT double MXL_get_rel_opt_error(MXL_context_ptr kc);
MX_EXPORT int MX_get_solve_time_cpu(MX_context_ptr kc, double *const time);
MX_EXPORT int MX_get_solve_time_real(MX_context_ptr kc, double *const time);

/* Values of the last point, in the three forms of the model calls. Nothing
 * is written while the internal array does not exist yet. */
MX_EXPORT int MX_get_var_primal_values(MX_context_ptr kc, const int nV, const int *indexVars, double *xValues);
MX_EXPORT int MX_get_var_primal_values_all(MX_context_ptr kc, double *xValues);
MX_EXPORT int MX_get_var_primal_value(MX_context_ptr kc, const int indexVar, double *xValue);
MX_EXPORT int MX_get_var_dual_values(MX_context_ptr kc, const int nV, const int *indexVars, double *lambdaValues);
MX_EXPORT int MX_get_var_dual_values_all(MX_context_ptr kc, double *lambdaValues);
MX_EXPORT int MX_get_var_dual_value(MX_context_ptr kc, const int indexVar, double *lambdaValue);
MX_EXPORT int MX_get_con_values(MX_context_ptr kc, const int nC, const int *indexCons, double *cValues);
MX_EXPORT int MX_get_con_values_all(MX_context_ptr kc, double *cValues);
MX_EXPORT int MX_get_con_value(MX_context_ptr kc, const int indexCon, double *cValue);
MX_EXPORT int MX_get_con_dual_values(MX_context_ptr kc, const int nC, const int *indexCons, double *lambdaValues);
MX_EXPORT int MX_get_con_dual_values_all(MX_context_ptr kc, double *lambdaValues);
MX_EXPORT int MX_get_con_dual_value(MX_context_ptr kc, const int indexCon, double *lambdaValue);
MX_EXPORT int MX_get_rsd_values(MX_context_ptr kc, const int nR, const int *indexRsds, double *rsdValues);
MX_EXPORT int MX_get_rsd_values_all(MX_context_ptr kc, double *rsdValues);
MX_EXPORT int MX_get_rsd_value(MX_context_ptr kc, const int indexRsd, double *rsdValue);

/* Violations: bndInfeas -1 below, 1 above, 0 within tolerance; intInfeas
 * the direction of the nearer integer (0 when integral). Any output may be
 * NULL. */
MX_EXPORT int MX_get_var_viols(MX_context_ptr kc, const int nV, const int *indexVars, int *bndInfeas, int *intInfeas, double *viols);
MX_EXPORT int MX_get_var_viols_all(MX_context_ptr kc, int *bndInfeas, int *intInfeas, double *viols);
MX_EXPORT int MX_get_var_viol(MX_context_ptr kc, const int indexVar, int *bndInfeas, int *intInfeas, double *viol);
MX_EXPORT int MX_get_con_viols(MX_context_ptr kc, const int nC, const int *indexCons, int *infeas, double *viols);
MX_EXPORT int MX_get_con_viols_all(MX_context_ptr kc, int *infeas, double *viols);
MX_EXPORT int MX_get_con_viol(MX_context_ptr kc, const int indexCon, int *infeas, double *viol);

/* Derivatives at the last point. The objective gradient lists the
 * variables some term touches, in ascending order. */
MX_EXPORT int MX_get_objgrad_nnz(MX_context_ptr kc, MX_nnz *const nnz);
MX_EXPORT int MX_get_objgrad_values(MX_context_ptr kc, int *const indexVars, double *const objGrad);
MX_EXPORT int MX_get_objgrad_values_all(MX_context_ptr kc, double *const objGrad);
MX_EXPORT int MX_get_jacobian_nnz(MX_context_ptr kc, MX_nnz *const nnz);
MX_EXPORT int MX_get_jacobian_values(MX_context_ptr kc, int *const indexCons, int *const indexVars, double *const jac);
MX_EXPORT int MX_get_jacobian_nnz_one(MX_context_ptr kc, const int indexCon, MX_nnz *const nnz);
MX_EXPORT int MX_get_jacobian_values_one(MX_context_ptr kc, const int indexCon, int *const indexVars, double *const jac);
MX_EXPORT int MX_get_rsd_jacobian_nnz(MX_context_ptr kc, MX_nnz *const nnz);
MX_EXPORT int MX_get_rsd_jacobian_values(MX_context_ptr kc, int *const indexRsds, int *const indexVars, double *const rsdJac);
/* 0 entries and return 1 when no Hessian matrix is kept (quasi-Newton
 * limited memory, products only, or BFGS under presolve). */
MX_EXPORT int MX_get_hessian_nnz(MX_context_ptr kc, MX_nnz *const nnz);
MX_EXPORT int MX_get_hessian_values(MX_context_ptr kc, int *const indexVars1, int *const indexVars2, double *const hess);

/* Mixed-integer results. Without an incumbent the incumbent calls return
 * 1. */
MX_EXPORT int MX_get_mip_number_nodes(MX_context_ptr kc, int *const numNodes);
MX_EXPORT int MX_get_mip_number_solves(MX_context_ptr kc, int *const numSolves);
MX_EXPORT int MX_get_mip_abs_gap(MX_context_ptr kc, double *const absGap);
MX_EXPORT int MX_get_mip_rel_gap(MX_context_ptr kc, double *const relGap);
MX_EXPORT int MX_get_mip_incumbent_obj(MX_context_ptr kc, double *const incumbentObj);
MX_EXPORT int MX_get_mip_relaxation_bnd(MX_context_ptr kc, double *const relaxBound);
MX_EXPORT int MX_get_mip_lastnode_obj(MX_context_ptr kc, double *const lastNodeObj);
MX_EXPORT int MX_get_mip_incumbent_x(MX_context_ptr kc, double *const x);

/* What presolve reported as the cause of its end; returns 1 when that was
 * a failure. Without a presolve record index is -1 and the rest 0. */
MX_EXPORT int MX_get_presolve_error(MX_context_ptr kc, int *const component, int *const index, int *const error, double *const viol);

#ifdef __cplusplus
}
#endif

#endif /* MORVEX_H */
