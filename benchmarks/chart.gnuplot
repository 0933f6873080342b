# Draws FOLDER/chart.svg from the data files that summary.awk writes there. The error bars end at
# the quartiles.
#
#   gnuplot -e "results='FOLDER'" benchmarks/chart.gnuplot
set terminal svg size 1000,760 font "sans-serif,13" background "white"
set output results."/chart.svg"
set multiplot layout 2,2 margins 0.08,0.97,0.06,0.9 spacing 0.11,0.2
set style fill solid 0.8 noborder
set style data histograms
set style histogram errorbars gap 1
set errorbars lw 1 lc rgb "#333333"
set grid ytics lc rgb "#dddddd"
set border 3
set tics nomirror
set key at graph 0.98, graph 1.1 right top horizontal samplen 1.5
set title offset 0,1.3
set linetype 1 lc rgb "#9aa5b1"
set linetype 2 lc rgb "#e8a33d"
set linetype 3 lc rgb "#2f6fb0"

set yrange [0:*]
set title "Processor time per answer, µs"
plot results."/answering-cpu_us.dat" using 2:3:4:xtic(1) title "floor", \
    "" using 5:6:7 title "Asio echo", "" using 8:9:10 title "plug-in"

set yrange [10:*]
set logscale y
set title "Round trip p50, µs"
plot results."/answering-p50_us.dat" using 2:3:4:xtic(1) title "floor", \
    "" using 5:6:7 title "Asio echo", "" using 8:9:10 title "plug-in"

unset logscale y
set yrange [0:*]
set logscale x 2
set xtics (1, 16, 64, 256)
set xrange [0.8:320]
set title "Start and stop over the number of adapters, ms"
plot results."/adapters.dat" \
    using 1:2:3:4 with yerrorlines lt 3 pt 7 title "document to last Hello", \
    "" using 1:5:6:7 with yerrorlines lt 2 pt 7 title "Close to return"

set title "Processor time per answer over the number of adapters, µs"
plot results."/adapters.dat" using 1:8:9:10 with yerrorlines lt 3 pt 7 notitle
