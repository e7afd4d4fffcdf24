# Cost against content size: the time itself, and its ratio to the baseline. `data` is zepasign_bench's PLOT.
set terminal svg size 1100,480 font "sans,12" background "white"
set termoption noenhanced
set multiplot layout 1,2 title "One signature, RSA-2048 and SHA-256, content embedded, with attributes"
set logscale xy
set grid
set key left top
set xtics ("1 KiB" 2**10, "16 KiB" 2**14, "256 KiB" 2**18, "4 MiB" 2**22, "64 MiB" 2**26, "1 GiB" 2**30)
names = "baseline ZEPASignDLL PKCS7_sign CMS_sign"
set xrange [700:2**31]
set xlabel "content"

set ylabel "milliseconds"
plot for [i=1:4] "< sort -n ".data using 1:(column(i + 1) > 0 ? column(i + 1) * 1e3 : NaN) with linespoints pt 7 ps 0.6 \
  title word(names, i)
set yrange [0.9:10]
set ylabel "times the baseline"
plot for [i=2:4] "< sort -n ".data using 1:(column(i + 1) > 0 ? column(i + 1) / column(2) : NaN) with linespoints pt 7 \
  ps 0.6 linecolor i notitle
