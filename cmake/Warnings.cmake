# Warnings are errors everywhere; sanitizers come from one cache variable.
add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow
    -Wno-missing-field-initializers -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual)

if(VELLOMIR_SANITIZE)
    add_compile_options(-fsanitize=${VELLOMIR_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VELLOMIR_SANITIZE})
endif()
