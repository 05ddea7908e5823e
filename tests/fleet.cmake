# What is to be copied for many machines, and what they send, by Prometheus's own judgement.
set(TARVEL_FLEET ${PROJECT_SOURCE_DIR}/packaging/fleet)
add_test(NAME fleet-configuration COMMAND ${PROMTOOL} check config ${TARVEL_FLEET}/prometheus.yml)
add_test(NAME fleet-rules
  COMMAND ${PROMTOOL} check rules ${TARVEL_FLEET}/recording.rules.yml ${TARVEL_FLEET}/alerts.rules.yml)
add_test(NAME fleet-alerts COMMAND ${PROMTOOL} test rules ${TARVEL_FLEET}/alerts.test.yml)
add_test(NAME fleet-metrics
  COMMAND ${PROJECT_SOURCE_DIR}/tests/fleet_metrics ${PROMTOOL} $<TARGET_FILE:tarvel>)
