# Draws memory, descriptors, threads and Probes over time. A curve has at most about 300 points,
# which in a long run are averages of several samples.
#
#   gnuplot -c picture.gnuplot SAMPLES PICTURE
#
# SAMPLES is what report.awk writes, one line per second. PICTURE is the SVG file to write.
set terminal svg size 1000,1000 background "white" font "sans-serif,13"
set output ARG2
set datafile separator ","
set datafile missing ""
stats ARG1 using 1 nooutput
step = ceil(STATS_max / 300)
minutes(second) = floor(second / step) * step / 60.0
# A life of the plug-in is the time from Load to Unload. Column 6 is the number of threads: more
# than one within a life, one between lives.
within = sprintf("< awk -F, 'NR > 1 && $6 > 1' '%s'", ARG1)
# An empty line interrupts the curve "between lives" where it has no sample for more than 60 s, so
# that no straight line crosses the last life, which takes the last third of the soak.
between = sprintf("< awk -F, 'NR > 1 && $6 == 1 " \
    . "{ if ($1 > seen + 60) print \"\"; seen = $1; print }' '%s'", ARG1)
set multiplot layout 4,1
set grid
set key outside top right horizontal
set lmargin 9
set rmargin 3
set xrange [0:STATS_max / 60]
set yrange [0:*]
set style line 1 linewidth 1.5 linecolor "#0060c0"
set style line 2 linewidth 1.5 linecolor "#d06000"
set style line 3 linewidth 1.5 linecolor "#40a0ff"
set style line 4 linewidth 1.5 linecolor "#ffb060"

set ylabel "MiB"
plot within using (minutes($1)):($4 / 2**20) smooth unique \
         linestyle 1 title "resident memory within lives", \
     between using (minutes($1)):($4 / 2**20) smooth unique linestyle 2 title "between lives"
set ylabel "KiB"
plot within using (minutes($1)):($3 / 2**10) smooth unique \
         linestyle 1 title "heap in use within lives", \
     between using (minutes($1)):($3 / 2**10) smooth unique linestyle 2 title "between lives"
set ylabel "count"
plot within using (minutes($1)):5 smooth unique linestyle 1 title "descriptors within lives", \
     between using (minutes($1)):5 smooth unique linestyle 2 title "between lives", \
     within using (minutes($1)):6 smooth unique linestyle 3 title "threads within lives", \
     between using (minutes($1)):6 smooth unique linestyle 4 title "between lives"
set ylabel "per second"
set xlabel "minutes"
plot ARG1 using (minutes($1)):7 smooth unique linestyle 2 title "Probes to be answered", \
     ARG1 using (minutes($1)):8 smooth unique linestyle 1 title "answered by the steady adapter"
