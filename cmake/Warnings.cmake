# Warnings are errors everywhere; sanitizers and coverage come from one cache variable each.
add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow
    -Wno-missing-field-initializers -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual)

if(VELLOMIR_SANITIZE)
    add_compile_options(-fsanitize=${VELLOMIR_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELLOMIR_SANITIZE})
    add_compile_definitions(VELLOMIR_SANITIZED) # For what sanitizers make impossible.
endif()

if(VELLOMIR_COVERAGE)
    # The place is part of the programs, for those that start without an environment.
    add_compile_options(-fprofile-instr-generate=${PROJECT_BINARY_DIR}/profiles/%4m.profraw
        -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()
