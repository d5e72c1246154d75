message(FATAL_ERROR "The test ${TEST} needs a program that was missing when the build was configured. "
    "Install it with “./dev setup”, and configure again: python3, or for C# mono-runtime, mono-mcs "
    "and libmono-system-json4.0-cil.")
