/* For libxml2, whose pow() would ask for GLIBC_2.29: the two differ only in how they report errors. */
__asm__(".symver pow, pow@GLIBC_2.2.5");
