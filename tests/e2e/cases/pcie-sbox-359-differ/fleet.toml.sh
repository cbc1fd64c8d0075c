# The lowest bit of the first 359 registers is not that of their value after power-on.
echo '[[card]]'
echo '[card.sbox]'
sed -n 's/^SBOX_REGISTER(\([^,]*\), *[^,]*, *[^,]*, *\([^,]*\),.*/\1 \2/p' ../../../../platform/include/SboxRegisters.def |
    head -n 359 |
    while read -r name value; do
        printf '%s = 0x%X\n' "$name" $((value ^ 1))
    done
